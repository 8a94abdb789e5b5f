// Asio's own code, compiled once for the whole program.
#include <boost/asio/impl/src.hpp>
