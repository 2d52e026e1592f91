#pragma once

#include <boost/version.hpp>
#include <string>

namespace zulconsole {

/// The version of Boost that the program is built with, as "1.74.0".
inline std::string boostVersion()
{
    return std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000) + "." +
           std::to_string(BOOST_VERSION % 100);
}

} // namespace zulconsole
