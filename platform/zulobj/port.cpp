#include "zulobj/port.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectPort>, 5> cObjectPort::table() { return portFields<cObjectPort>(); }

template class cRecord<cObjectPort, cObject, OBJ_PORT>;
