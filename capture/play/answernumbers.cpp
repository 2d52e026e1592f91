#include "capture/play/answernumbers.h"

#include <algorithm>
#include <functional>
#include <span>
#include <string_view>

#include "wmsg/wpayload.h"

namespace capture {

namespace {

constexpr size_t kChecksumAt = 12;

uint32_t checksumOf(std::span<const uint8_t> segment)
{
    const uint64_t sum = wmsg::checksumAdd(0, segment.first(kChecksumAt));
    return wmsg::checksumFinish(wmsg::checksumAdd(sum, segment.subspan(wmsg::kHeaderSize)));
}

/// The size of the whole segment that @p bytes begin with; 0 if they begin with none.
size_t wholeSegment(std::span<const uint8_t> bytes)
{
    if (bytes.size() < wmsg::kHeaderSize || wmsg::get16(bytes.data()) != wmsg::kMagic) {
        return 0;
    }
    const size_t payload = wmsg::get32(bytes.data() + 8);
    const size_t size = wmsg::kHeaderSize + payload;
    const bool fits = payload <= wmsg::kMaxSegmentPayload && size <= bytes.size();
    return fits && checksumOf(bytes.first(size)) == wmsg::get32(bytes.data() + kChecksumAt) ? size : 0;
}

} // namespace

AnswerNumbers::Question AnswerNumbers::Question::of(const WMsg& message)
{
    return {.type = message.type,
            .content = std::hash<std::string_view>()(wmsg::getText(message.payload)),
            .seq = message.seq};
}

void AnswerNumbers::addRecorded(uint64_t number, const WMsg& question)
{
    Question& added = mRecorded[number] = Question::of(question);
    added.place = ++mRecordedCount;
    if (mRecorded.size() > kMaxQuestions) {
        mRecorded.erase(mRecorded.begin());
    }
}

void AnswerNumbers::addLive(const WMsg& question)
{
    ++mLiveCount;
    mLive.push_back(Question::of(question));
    if (mLive.size() > kMaxQuestions) {
        mLive.pop_front();
    }
}

bool AnswerNumbers::isAsked(uint64_t number) const
{
    const auto found = mRecorded.find(number);
    return found == mRecorded.end() || found->second.place <= mLiveCount;
}

void AnswerNumbers::giveUp(uint64_t number)
{
    if (!isAsked(number)) {
        mLiveCount = mRecorded.at(number).place;
    }
}

std::optional<uint8_t> AnswerNumbers::take(uint64_t number)
{
    const auto recorded = mRecorded.extract(number);
    if (recorded.empty()) {
        return std::nullopt;
    }
    const Question& question = recorded.mapped();
    auto live = std::ranges::find_if(mLive, [&question](const Question& other) {
        return other.type == question.type && other.content == question.content;
    });
    live = live == mLive.end() ? std::ranges::find(mLive, question.type, &Question::type) : live;
    if (live == mLive.end()) {
        return std::nullopt;
    }
    const uint8_t seq = live->seq;
    mLive.erase(live);
    return seq;
}

void renumberAnswer(std::vector<uint8_t>* bytes, uint8_t from, uint8_t to)
{
    for (size_t at = 0; at < bytes->size();) {
        const size_t size = wholeSegment(std::span(*bytes).subspan(at));
        uint8_t* const segment = bytes->data() + at;
        const bool isPart = size > 0 && (segment[3] & wmsg::kFlagAnswer) != 0 &&
                            (segment[3] & wmsg::kFlagControl) == 0 && segment[5] == from;
        if (isPart) {
            segment[5] = to;
            wmsg::put32(segment + kChecksumAt, checksumOf({segment, size}));
        }
        at += size > 0 ? size : 1;
    }
}

} // namespace capture
