#include "segmentcutter.h"

#include <utility>

#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"

bool SegmentCutter::next(std::vector<uint8_t>* segment)
{
    size_t size = mBytes.size();
    if (!mLost) {
        if (mBytes.size() < wmsg::kHeaderSize) {
            return false;
        }
        const uint32_t payload = wmsg::get32(mBytes.data() + 8);
        mLost = wmsg::get16(mBytes.data()) != wmsg::kMagic || payload > wmsg::kMaxSegmentPayload;
        if (!mLost) {
            size = wmsg::kHeaderSize + payload;
        }
    }
    if (size == 0 || mBytes.size() < size) {
        return false;
    }
    const auto end = mBytes.begin() + static_cast<std::ptrdiff_t>(size);
    segment->assign(mBytes.begin(), end);
    mBytes.erase(mBytes.begin(), end);
    return true;
}

std::vector<uint8_t> SegmentCutter::rest() { return std::exchange(mBytes, {}); }
