#pragma once

#include <algorithm>
#include <deque>

#include "framemodel.h"
#include "wmsg/wmsgreader.h"

/// Puts messages together by the rules of docs/protocol.md, one whole segment at a time.
class ReassemblyModel
{
public:
    /// Messages in the order of their coming; the caller takes them away.
    std::deque<WMsg> messages;

    bool broken() const { return mBroken; }

    /// True between the first byte of a message and its last.
    bool inMessage() const { return !mSegment.empty() || mSegments > 0; }

    bool overdue(int64_t nowMs) const { return inMessage() && nowMs - mBegunMs > model::kMaxAgeMs; }

    /// The bytes received of what is not complete yet.
    size_t pendingBytes() const { return mSegment.size() + mMessage.payload.size(); }

    void feed(const uint8_t* data, size_t size, int64_t nowMs)
    {
        mBroken = mBroken || overdue(nowMs);
        while (size > 0 && !mBroken) {
            if (!inMessage()) {
                mBegunMs = nowMs;
            }
            const size_t taken = std::min(size, wanted() - mSegment.size());
            mSegment.insert(mSegment.end(), data, data + taken);
            data += taken;
            size -= taken;
            look();
        }
    }

private:
    /// How many bytes the segment has, as far as that is known yet.
    size_t wanted() const
    {
        return mSegment.size() < model::kHeader ? model::kHeader
                                                : model::kHeader + model::Header(mSegment.data()).length;
    }

    void look()
    {
        if (mSegment.size() == model::kHeader) {
            mBroken = mBroken || refused(model::Header(mSegment.data()));
        }
        if (!mBroken && mSegment.size() >= model::kHeader && mSegment.size() == wanted()) {
            take(model::Header(mSegment.data()));
            mSegment.clear();
        }
    }

    bool refused(const model::Header& header) const
    {
        if (header.broken() || header.control()) {
            return header.broken();
        }
        const WMsg asSaid = headed(header);
        const bool same = asSaid.type == mMessage.type && asSaid.seq == mMessage.seq &&
                          asSaid.answer == mMessage.answer && asSaid.event == mMessage.event;
        return header.segment != mSegments || mSegments + 1 > model::kMaxSegments ||
               mMessage.payload.size() + header.length > model::kMaxMessageBytes || (mSegments > 0 && !same);
    }

    void take(const model::Header& header)
    {
        if (model::checksum(mSegment) != header.sum) {
            mBroken = true;
        } else if (header.control()) {
            messages.push_back(headed(header));
        } else {
            WMsg message = headed(header);
            message.payload = std::move(mMessage.payload);
            message.payload.insert(message.payload.end(), mSegment.begin() + model::kHeader, mSegment.end());
            mMessage = std::move(message);
            ++mSegments;
            if (header.last()) {
                messages.push_back(std::move(mMessage));
                mMessage = WMsg();
                mSegments = 0;
            }
        }
    }

    static WMsg headed(const model::Header& header)
    {
        WMsg message;
        message.type = header.type;
        message.seq = header.seq;
        message.answer = (header.flags & 1) != 0;
        message.event = (header.flags & 2) != 0;
        message.control = header.control();
        return message;
    }

    bool mBroken = false;
    std::vector<uint8_t> mSegment;
    WMsg mMessage;
    size_t mSegments = 0;
    int64_t mBegunMs = 0;
};
