#include "faultyconnection.h"

#include <fcntl.h>
#include <utility>

FaultyConnection::FaultyConnection(boost::asio::ip::tcp::socket device, uint64_t number, const Faults& faults,
                                   FaultCounts& counts)
    : mFaults(faults),
      mCounts(counts),
      mDevice(std::move(device)),
      mServer(mDevice.get_executor()),
      mSilenceTimer(mDevice.get_executor()),
      mToServer({mDevice, mServer, true}, number, faults, counts, *this),
      mToDevice({mServer, mDevice, false}, number, faults, counts, *this)
{
    ++mCounts.open;
}

void FaultyConnection::start(const boost::asio::ip::tcp::endpoint& server)
{
    boost::system::error_code failed;
    mServer.open(server.protocol(), failed);
    if (failed) {
        end(true);
        return;
    }
    ::fcntl(mServer.native_handle(), F_SETFD, FD_CLOEXEC);
    mServer.async_connect(server, [this, self = shared_from_this()](const boost::system::error_code& error) {
        if (error || mOver) {
            end(true);
            return;
        }
        boost::system::error_code ignored;
        mServer.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        mDevice.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        mToServer.start();
        mToDevice.start();
    });
}

void FaultyConnection::outage(eOutage kind)
{
    switch (kind) {
    case eOutage::NONE:
        return;
    case eOutage::RESET:
        ++mCounts.resets;
        end(true);
        return;
    case eOutage::CLOSE:
        ++mCounts.closed;
        end(false);
        return;
    case eOutage::SILENCE:
        ++mCounts.silenced;
        silence();
        mSilenceTimer.expires_after(std::chrono::milliseconds(mFaults.silenceMs));
        mSilenceTimer.async_wait([this, self = shared_from_this()](const boost::system::error_code& error) {
            if (!error) {
                end(true);
            }
        });
    }
}

void FaultyConnection::laneDrained(FaultLane& lane)
{
    boost::system::error_code ignored;
    lane.ends().to.shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    if (++mDrained == 2) {
        end(false);
    }
}

void FaultyConnection::silence()
{
    mSilent = true;
    mToServer.stop();
    mToDevice.stop();
}

void FaultyConnection::end(bool withReset)
{
    if (mOver) {
        return;
    }
    mOver = true;
    --mCounts.open;
    mToServer.stop();
    mToDevice.stop();
    mSilenceTimer.cancel();
    for (boost::asio::ip::tcp::socket* socket : {&mDevice, &mServer}) {
        boost::system::error_code ignored;
        if (withReset) {
            socket->set_option(boost::asio::socket_base::linger(true, 0), ignored);
        }
        socket->close(ignored);
    }
}
