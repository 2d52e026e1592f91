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

    /// The field at fault, or null when all is well.
    const char* field() const { return mField; }

    /// What is wrong with the field, or null when all is well.
    const char* problem() const { return mProblem; }

    /// "ok", or the field and its problem in one line.
    std::string text() const;

private:
    WStatus() = default;
    WStatus(const char* field, const char* problem) : mField(field), mProblem(problem) {}

    const char* mField = nullptr;
    const char* mProblem = nullptr;
};
