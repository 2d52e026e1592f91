#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "faultlane.h"

/// One connection that passes through the proxy: its two sockets and its two directions.
class FaultyConnection : public FaultLane::Owner
{
public:
    /// @p number counts the connections of the proxy. @p faults and @p counts are borrowed.
    FaultyConnection(boost::asio::ip::tcp::socket device, uint64_t number, const Faults& faults,
                     FaultCounts& counts);

    /// Connects to the server and passes bytes on from then.
    void start(const boost::asio::ip::tcp::endpoint& server);

    void outage(eOutage kind) override;
    void broken() override { end(true); }
    void laneDrained(FaultLane& lane) override;
    bool quiet() const override { return mSilent || mOver; }

    /// Closes both sockets, with a reset or in good order, without counting it as an outage.
    void end(bool withReset);

    /// Nothing passes any more; the connection stays.
    void silence();

    bool isOver() const { return mOver; }

private:
    const Faults& mFaults;
    FaultCounts& mCounts;
    boost::asio::ip::tcp::socket mDevice;
    boost::asio::ip::tcp::socket mServer;
    boost::asio::steady_timer mSilenceTimer;
    FaultLane mToServer;
    FaultLane mToDevice;
    bool mSilent = false;
    bool mOver = false;
    int mDrained = 0;
};
