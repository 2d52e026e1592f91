#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "proxy/faults/messageedit.h"
#include "proxy/rules/rule.h"
#include "wmsg/wpayload.h"
#include "zuldevice/seededrandom.h"

namespace proxy {

/// The records of a message that is being changed.
///
/// Rules choose records as they came, whatever another rule has made of them since.
class RecordEdit
{
public:
    /// What @p came points to outlives this.
    explicit RecordEdit(const std::vector<WendleObject>& came);

    /// Does what @p rule, of a kind of the record layer, says to each record that it chooses. Returns what
    /// became of the first one, or nothing if there is nothing to change.
    std::optional<Change> apply(const Rule& rule, cSeededRandom* draws);

    std::vector<uint8_t> payload() const;

private:
    struct Edited
    {
        WendleObject came;
        uint32_t type = 0;
        std::vector<uint8_t> tags = {};
        uint32_t times = 1; ///< 0 if the record is taken out
    };

    using Edit = std::optional<Change> (*)(const Rule&, uint64_t drawn, Edited*);

    static Edit editFor(eFault kind);
    static std::optional<Change> setField(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> setSerial(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> setType(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> addTag(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> dropTag(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> setWrongLength(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> drop(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> twice(const Rule& rule, uint64_t drawn, Edited* record);
    static std::optional<Change> setFloatsToNaN(const Rule& rule, uint64_t drawn, Edited* record);

    static void append(const Edited& record, std::vector<uint8_t>* bytes);

    std::vector<Edited> mRecords;
};

} // namespace proxy
