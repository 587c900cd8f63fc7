import pytest

from harness.module import Module


@pytest.fixture
def module():
    """A running module in a box of its own."""
    with Module() as running:
        yield running


@pytest.fixture
def vyreld(module):
    """The example daemon, running in `module`."""
    return module.start_vyreld()
