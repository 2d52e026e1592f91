// A server for fleets: asks each device for its record and reads what it sends, but for the connection whose
// device has the serial number of the argument. Prints its port and serves until it is ended.

#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <cstdlib>
#include <list>

#include "zullink/asiodriver.h"
#include "zulobj/device.h"
#include "zulobj/objectlist.h"

namespace {

using boost::asio::ip::tcp;

/// The end of one connection.
class Peer : public AsioDriver::Owner
{
public:
    Peer(tcp::socket socket, LinkNumbers* numbers, uint32_t unread)
        : mUnread(unread),
          mDriver(std::make_shared<AsioDriver>(std::move(socket), LinkSession::Settings{sLinkLimits(), false},
                                               numbers, nullptr, this))
    {}

    void start()
    {
        mDriver->start();
        cObjectDevice device;
        device.setDeviceSerial(cObject::kWildcard);
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        list.addBorrowed(&device);
        WMsg message;
        static_cast<void>(list.encode(&message));
        mDriver->session().request(std::move(message), [this](const WMsg* answer) {
            cObjectList record;
            if (answer != nullptr && record.decode(*answer).isOk() && record.first() != nullptr) {
                mPaused = static_cast<cObjectDevice*>(record.first())->getDeviceSerial() == mUnread;
            }
        });
        mDriver->flush();
    }

    void linkMessage(LinkSession::Received&&) override {}
    void linkClosed(const std::string&) override {}
    bool readingPaused() const override { return mPaused; }

private:
    const uint32_t mUnread;
    bool mPaused = false;
    std::shared_ptr<AsioDriver> mDriver;
};

void serve(tcp::acceptor* acceptor, LinkNumbers* numbers, uint32_t unread, std::list<Peer>* peers)
{
    acceptor->async_accept([=](const boost::system::error_code& error, tcp::socket socket) {
        if (!error) {
            peers->emplace_back(std::move(socket), numbers, unread).start();
        }
        serve(acceptor, numbers, unread, peers);
    });
}

} // namespace

int main(int argc, char** argv)
{
    const auto unread = static_cast<uint32_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0);
    boost::asio::io_context io(1);
    tcp::acceptor acceptor(io, {boost::asio::ip::address_v4::loopback(), 0});
    acceptor.listen(4096);
    LinkNumbers numbers;
    std::list<Peer> peers;
    serve(&acceptor, &numbers, unread, &peers);
    std::printf("port %u\n", acceptor.local_endpoint().port());
    std::fflush(stdout);
    io.run();
}
