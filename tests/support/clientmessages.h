#pragma once

// What the tests of a client send and expect.

#include <cstdint>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "linkpeer.h"
#include "zulobj/adhoc.h"
#include "zulobj/objclient.h"

/// Pauses that a test need not wait for; nothing is given up by itself.
inline cObjectClient::Settings quickSettings()
{
    cObjectClient::Settings settings;
    settings.startMs = 20000;
    settings.firstPauseMs = 1;
    settings.longestPauseMs = 20;
    return settings;
}

inline WMsg messageOf(uint8_t type, uint8_t seq, std::vector<uint8_t> payload = {})
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.event = type == cObjectList::kEvent;
    message.payload = std::move(payload);
    return message;
}

/// An event whose record bears @p id, so that a test can tell it from others.
inline void sendEvent(cObjectClient* client, uint32_t id, const char* text = nullptr)
{
    cObjectAdhocEvent record;
    record.setPortId(id);
    record.setEventValue(text);
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    list.addBorrowed(&record);
    client->send(&list);
}

inline void sendEmpty(cObjectClient* client, uint8_t type)
{
    cObjectList list;
    list.setMsgType(type);
    client->send(&list);
}

inline uint32_t idOf(const WMsg& message)
{
    cObjectList list;
    EXPECT_TRUE(list.decode(message).isOk());
    const auto* record = dynamic_cast<const cObjectAdhocEvent*>(list.first());
    return record == nullptr ? 0 : record->getPortId();
}

/// The ids of the next @p count events on @p peer.
inline std::vector<uint32_t> receiveIds(PeerConnection* peer, size_t count)
{
    std::vector<uint32_t> ids;
    WMsg message;
    while (ids.size() < count && peer->receive(&message)) {
        ids.push_back(idOf(message));
    }
    return ids;
}

inline std::vector<uint32_t> numbers(uint32_t first, uint32_t last)
{
    std::vector<uint32_t> all;
    for (uint32_t number = first; number <= last; ++number) {
        all.push_back(number);
    }
    return all;
}
