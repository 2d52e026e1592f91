#include "wmsg/wtag.h"

WTag::WTag(uint16_t number, const uint8_t* value, size_t size) : mNumber(number), mValue(value, value + size)
{}
