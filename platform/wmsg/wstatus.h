#pragma once

#include <string>

/// Says whether an operation on bytes worked, and if not, which field was at fault.
///
/// Both texts are literals: a status is free to copy and never allocates until text() is called.
class [[nodiscard]] WStatus
{
public:
    static WStatus ok() { return {}; }

    /// @p field names what was being read or written, @p problem says what is wrong with it.
    static WStatus error(const char* field, const char* problem) { return WStatus(field, problem); }

    bool isOk() const { return mField == nullptr; }

    // Null if all is well.
    const char* field() const { return mField; }
    const char* problem() const { return mProblem; }

    /// "ok", or the field and its problem in one line.
    std::string text() const { return isOk() ? "ok" : std::string(mField) + ": " + mProblem; }

private:
    WStatus() = default;
    WStatus(const char* field, const char* problem) : mField(field), mProblem(problem) {}

    const char* mField = nullptr;
    const char* mProblem = nullptr;
};
