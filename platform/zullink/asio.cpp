// The functions of Boost.Asio that are no templates, compiled once for all programs.
#include <boost/asio/impl/src.hpp>
