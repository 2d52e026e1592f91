#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "capture/sessions/recordeditem.h"

namespace capture {

/// Counts the messages of a recording by device and kind.
class Summary
{
public:
    /// Further devices are counted together.
    static constexpr size_t kMaxDevices = 65536;

    /// Further messages at once that wait for their answers count as unanswered.
    static constexpr size_t kMaxAsked = 256 * 1024;

    /// Counts a message, or bytes that belong to none, if @p counts. To be given all items, so that answers
    /// are found that do not count themselves.
    void add(const RecordedItem& item, bool counts);

    /// Writes a table for people.
    void print(std::ostream& out) const;

private:
    enum eKind : uint8_t
    {
        GET,
        SET,
        EVENT,
        ANSWER,
        PING,
        OTHER,
        NUM_KINDS
    };

    struct Row
    {
        uint64_t toServer = 0;
        uint64_t toDevice = 0;
        uint64_t asked = 0;
        uint64_t answered = 0; ///< of those
        int64_t longestNs = 0; ///< of an answer to this kind
        uint64_t damaged = 0;  ///< bytes

        void add(const Row& other);
    };

    /// Nothing for connections whose device is not known.
    using Serial = std::optional<uint32_t>;
    using Rows = std::array<Row, NUM_KINDS>;

    static eKind kindOf(const WMsg& message);
    static eKind kindOfType(uint8_t type, bool control);
    Rows& rowsOf(const Serial& serial);
    void count(const RecordedItem& item, Rows* rows);
    void countAnswer(const RecordedItem& item, Rows* rows);
    bool takeAsked(const RecordedItem& answer);
    void printRow(std::ostream& out, const std::string& device, const std::string& kind,
                  const Row& row) const;
    Row printDevice(std::ostream& out, const std::string& device, const Rows& rows) const;

    std::map<Serial, Rows> mDevices;
    Rows mOthers; ///< devices beyond kMaxDevices
    bool mHasOthers = false;

    /// The numbers of messages without answer so far, by connection, direction and keyOf().
    std::map<std::tuple<uint64_t, eDirection, uint16_t>, uint64_t> mAsked;
    std::optional<int64_t> mFirstNs;
    int64_t mLastNs = 0;
};

} // namespace capture
