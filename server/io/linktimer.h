#ifndef SERVER_LINKTIMER_H
#define SERVER_LINKTIMER_H

#include <boost/asio/basic_waitable_timer.hpp>

#include "zullink/linkclock.h"

namespace server {

/// Waits by the link's clock.
using LinkTimer = boost::asio::basic_waitable_timer<cLinkClock>;

} // namespace server

#endif
