"""Starts a module in a box and drives it from outside."""
