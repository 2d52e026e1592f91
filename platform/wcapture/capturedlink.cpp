#include "wcapture/capturedlink.h"

#include <algorithm>
#include <utility>

std::unique_ptr<cCapturedLink> cCapturedLink::of(std::shared_ptr<cCaptureFile> file, int fd, eRole role)
{
    sockaddr_storage ownAddress{};
    sockaddr_storage peerAddress{};
    socklen_t ownSize = sizeof ownAddress;
    socklen_t peerSize = sizeof peerAddress;
    sEndpoint own;
    sEndpoint peer;
    if (!file || getsockname(fd, reinterpret_cast<sockaddr*>(&ownAddress), &ownSize) != 0 ||
        getpeername(fd, reinterpret_cast<sockaddr*>(&peerAddress), &peerSize) != 0 ||
        !sEndpoint::from(ownAddress, &own) || !sEndpoint::from(peerAddress, &peer)) {
        return nullptr;
    }
    return std::make_unique<cCapturedLink>(std::move(file), own, peer, role);
}

cCapturedLink::cCapturedLink(std::shared_ptr<cCaptureFile> file, const sEndpoint& own, const sEndpoint& peer,
                             eRole role)
    : mFile(std::move(file)),
      mSent{pcapng::eDirection::OUTBOUND, own, peer},
      mReceived{pcapng::eDirection::INBOUND, peer, own}
{
    // Two connections that get the same ports are told apart by where their numbers begin (RFC 9293, 3.4.1).
    mSent.next = mReceived.next = mFile->nextConnection() << 20;
    shakeHands(role);
}

cCapturedLink::~cCapturedLink() { closed(); }

void cCapturedLink::shakeHands(eRole role)
{
    sLane& first = role == CONNECTED ? mSent : mReceived;
    sLane& second = opposite(&first);
    write(&first, sTcpFields::kSyn);
    ++first.next;
    write(&second, sTcpFields::kSyn | sTcpFields::kAck);
    ++second.next;
    write(&first, sTcpFields::kAck);
}

void cCapturedLink::received(const uint8_t* bytes, size_t size)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    record(&mReceived, bytes, size);
}

void cCapturedLink::closed()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    end(&mSent, sTcpFields::kFin);
}

void cCapturedLink::peerClosed()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    // Whoever has shut the socket down reads its end as well, whatever the peer does.
    if (!mSent.ended) {
        end(&mReceived, sTcpFields::kFin);
    }
}

void cCapturedLink::peerReset()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mSent.ended) {
        end(&mReceived, sTcpFields::kReset);
    }
    // Nothing follows a reset, in either direction.
    mSent.ended = true;
}

void cCapturedLink::record(sLane* lane, const uint8_t* bytes, size_t size)
{
    while (size > 0 && !lane->ended) {
        const size_t portion = std::min(size, kMaxTcpPayload);
        write(lane, sTcpFields::kPush | sTcpFields::kAck, bytes, portion);
        lane->next += static_cast<uint32_t>(portion);
        bytes += portion;
        size -= portion;
    }
}

void cCapturedLink::end(sLane* lane, uint8_t flag)
{
    if (!lane->ended) {
        write(lane, flag | sTcpFields::kAck);
        ++lane->next;
        lane->ended = true;
    }
}

void cCapturedLink::write(sLane* lane, uint8_t flags, const uint8_t* bytes, size_t size)
{
    sTcpFields fields;
    fields.flags = flags;
    fields.sequence = lane->next;
    fields.acknowledged = (flags & sTcpFields::kAck) != 0 ? opposite(lane).next : 0;
    mPacket.clear();
    appendTcpPacket(&mPacket, lane->from, lane->to, fields, bytes, size);
    mFile->write(lane->direction, mPacket);
}
