// Asio is compiled once, here, and not in every file that includes it.
#include <asio/impl/src.hpp>
