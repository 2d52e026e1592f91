#include "capture/diff/comparedmessage.h"

#include <functional>
#include <string_view>

#include "wmsg/wpayload.h"

namespace capture {

namespace {

uint64_t hashOf(const std::vector<uint8_t>& bytes)
{
    return std::hash<std::string_view>()(wmsg::getText(bytes));
}

void append(std::vector<uint8_t>* to, std::span<const uint8_t> bytes)
{
    to->insert(to->end(), bytes.begin(), bytes.end());
}

bool tellsPort(uint16_t tag) { return tag == TAG_PORT_ID || tag == TAG_PORT_NUM || tag == TAG_CAP_ID; }

} // namespace

MessageComparer::MessageComparer(const Tags& ignored) : mIgnored(ignored)
{
    mIgnored.set(TAG_SEQ_NUM).set(TAG_LAST_SAMPLE_SEQ);
}

ComparedMessage MessageComparer::operator()(RecordedItem item)
{
    mContent.assign({item.message.type});
    mShape.assign({item.message.type});
    if (mList.decode(item.message).isOk()) {
        for (const cObject* record = mList.first(); record != nullptr; record = mList.next()) {
            add(*record);
        }
    } else {
        append(&mContent, item.message.payload);
    }
    return {hashOf(mContent), hashOf(mShape), item.timeNs, std::move(item.message)};
}

void MessageComparer::add(const cObject& record)
{
    mRecord.resize(record.encodedSize());
    record.encode(mRecord.data());
    const auto header = std::span(mRecord).first(wmsg::kObjectHeaderSize);
    append(&mContent, header.first(4)); // the length of what follows counts no more
    append(&mShape, header.first(4));
    WTagReader reader{std::span(mRecord).subspan(wmsg::kObjectHeaderSize)};
    for (WTagView tag; reader.next(&tag);) {
        const std::span<const uint8_t> bytes(tag.value.data() - wmsg::kTagHeaderSize,
                                             wmsg::kTagHeaderSize + tag.value.size());
        if (counts(tag.number)) {
            append(&mContent, bytes);
        }
        if (tellsPort(tag.number)) {
            append(&mShape, bytes);
        }
    }
}

} // namespace capture
