#include "wcapture/capturedlink.h"

#include <algorithm>
#include <utility>

std::unique_ptr<cCapturedLink> cCapturedLink::of(std::shared_ptr<cCaptureFile> file, int fd, eRole role,
                                                 pcapng::sPacketNotes notes)
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
    return std::make_unique<cCapturedLink>(std::move(file), own, peer, role, std::move(notes));
}

cCapturedLink::cCapturedLink(std::shared_ptr<cCaptureFile> file, const sEndpoint& own, const sEndpoint& peer,
                             eRole role, pcapng::sPacketNotes notes)
    : mFile(std::move(file)),
      mSent{pcapng::eDirection::OUTBOUND, own, peer},
      mReceived{pcapng::eDirection::INBOUND, peer, own},
      mNotes(std::move(notes))
{
    // Two connections that get the same ports are told apart by where their numbers begin (RFC 9293, 3.4.1).
    mSent.next = mReceived.next = mFile->nextConnection() << 20;
    sLane& first = role == CONNECTED ? mSent : mReceived;
    sLane& second = opposite(&first);
    write(&first, sTcpFields::kSyn);
    ++first.next;
    write(&second, sTcpFields::kSyn | sTcpFields::kAck);
    ++second.next;
    write(&first, sTcpFields::kAck);
}

cCapturedLink::~cCapturedLink() { closed(); }

void cCapturedLink::received(std::span<const uint8_t> bytes)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    record(&mReceived, bytes);
}

void cCapturedLink::closed()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    end(&mSent, sTcpFields::kFin);
}

void cCapturedLink::sendingEnded()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    end(&mSent, sTcpFields::kFin);
}

void cCapturedLink::reset()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    end(&mSent, sTcpFields::kReset);
    // Nothing follows a reset, in either direction.
    mReceived.ended = true;
}

void cCapturedLink::comment(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mNotes.comments.size() < kMaxComments) {
        mNotes.comments.push_back(text);
    }
}

void cCapturedLink::peerClosed()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    // After a shutdown this side reads the end even if the peer has sent none.
    if (!mClosed) {
        end(&mReceived, sTcpFields::kFin);
    }
}

void cCapturedLink::peerReset()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mClosed) {
        end(&mReceived, sTcpFields::kReset);
    }
    // Nothing follows a reset, in either direction.
    mClosed = true;
    mSent.ended = true;
}

void cCapturedLink::record(sLane* lane, std::span<const uint8_t> bytes)
{
    while (!bytes.empty() && !lane->ended) {
        const auto portion = bytes.first(std::min(bytes.size(), kMaxTcpPayload));
        write(lane, sTcpFields::kPush | sTcpFields::kAck, portion);
        lane->next += static_cast<uint32_t>(portion.size());
        bytes = bytes.subspan(portion.size());
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

void cCapturedLink::write(sLane* lane, uint8_t flags, std::span<const uint8_t> bytes)
{
    const uint32_t acknowledged = (flags & sTcpFields::kAck) != 0 ? opposite(lane).next : 0;
    mPacket.clear();
    appendTcpPacket(&mPacket, lane->from, lane->to, {flags, lane->next, acknowledged}, bytes);
    mFile->write(lane->direction, mPacket, mNotes);
    mNotes.comments.clear();
}
