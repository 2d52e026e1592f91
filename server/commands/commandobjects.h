#ifndef SERVER_COMMANDOBJECTS_H
#define SERVER_COMMANDOBJECTS_H

// Builds the object that a get or a set sends from the words of its command.

#include <memory>

#include "server/commands/commandwords.h"
#include "zulobj/object.h"

namespace server {

/// What a request asks for: keys that are not given stand for every device and every port. Null after a
/// mistake in what is to be got.
std::shared_ptr<cObject> readObjectToGet(CommandWords* words);

/// What a set changes: fields that are not given say that the device leaves them as they are. Null after
/// a mistake in what is to be set.
std::shared_ptr<cObject> readObjectToSet(CommandWords* words);

} // namespace server

#endif
