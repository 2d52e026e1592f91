#pragma once

#include <cstdint>

/// What the sensors of a device's analog inputs make of what they measure.
class cSensors
{
public:
    virtual ~cSensors() = default;

    /// What the server is told instead of @p value, which may be anything. @p port is from 1.
    virtual float measure(uint32_t port, float value) = 0;
};
