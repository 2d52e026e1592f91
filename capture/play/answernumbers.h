#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "wmsg/wmsg.h"

namespace capture {

/// Tells under which number a recorded answer goes to the live side: that of the live question.
///
/// A recorded question is the oldest live one with the same content, or else the oldest one of its type.
class AnswerNumbers
{
public:
    /// The most questions that can be outstanding at once. Older ones without an answer are forgotten.
    static constexpr size_t kMaxQuestions = 256;

    /// The question @p number of the recorded connection.
    void addRecorded(uint64_t number, const WMsg& question);
    void addLive(const WMsg& question);

    /// True if as many live questions came as there were in the recording up to the question @p number.
    bool isAsked(uint64_t number) const;

    /// The question @p number is not asked any more: later ones are not kept back by it.
    void giveUp(uint64_t number);

    /// Takes the live question that is answered by the answer to the recorded question @p number. Nothing if
    /// it was not asked.
    std::optional<uint8_t> take(uint64_t number);

private:
    struct Question
    {
        uint8_t type = 0;
        uint64_t content = 0;
        uint8_t seq = 0;
        uint64_t place = 0; ///< among those of its side, from 1

        static Question of(const WMsg& message);
    };

    std::map<uint64_t, Question> mRecorded;
    std::deque<Question> mLive;
    uint64_t mRecordedCount = 0;
    uint64_t mLiveCount = 0;
};

/// Gives the segments of @p bytes that belong to an answer with the number @p from the number @p to, and
/// right checksums. Damaged ones stay as they are.
void renumberAnswer(std::vector<uint8_t>* bytes, uint8_t from, uint8_t to);

} // namespace capture
