#include "zulobj/port.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectPort, cObject, OBJ_PORT>;

cFieldTable<cObjectPort> cObjectPort::fields()
{
    static constexpr auto kFields = portFields<cObjectPort>();
    return {kFields.data(), kFields.size()};
}
