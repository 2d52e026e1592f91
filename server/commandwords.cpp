#include "server/commandwords.h"

#include <sstream>

#include "server/numbers.h"

namespace server {

CommandWords::CommandWords(const std::string& line)
{
    std::istringstream tokens(line);
    std::string token;
    while (tokens >> token) {
        const size_t equals = token.find('=');
        if (equals == std::string::npos) {
            mWords.push_back(token);
        } else {
            addField(token, equals);
        }
    }
}

void CommandWords::addField(const std::string& token, size_t equals)
{
    const std::string name = token.substr(0, equals);
    if (name.empty()) {
        fail("A field has no name: " + quoted(token) + ".");
    } else if (!mFields.emplace(name, token.substr(equals + 1)).second) {
        fail("The field " + quoted(name) + " is given twice.");
    }
}

std::string CommandWords::word() { return mNext == mWords.size() ? std::string() : mWords[mNext++]; }

bool CommandWords::field(const std::string& name, std::string* value)
{
    const auto found = mFields.find(name);
    if (found == mFields.end()) {
        return false;
    }
    *value = std::move(found->second);
    mFields.erase(found);
    return true;
}

bool CommandWords::number(const std::string& name, uint32_t least, uint32_t most, uint32_t* value)
{
    std::string text;
    if (!field(name, &text)) {
        return false;
    }
    if (!parseNumber(text, least, most, value)) {
        fail(numberMistake(name, text, least, most));
        return false;
    }
    return true;
}

bool CommandWords::real(const std::string& name, float* value)
{
    std::string text;
    if (!field(name, &text)) {
        return false;
    }
    if (!parseFloat(text, value)) {
        fail(name + " is not a decimal number that a float can hold: " + quoted(text) + ".");
        return false;
    }
    return true;
}

bool CommandWords::required(const std::string& name, std::string* value)
{
    if (!field(name, value)) {
        fail("The command needs the field " + quoted(name) + ".");
        return false;
    }
    return true;
}

void CommandWords::fail(const std::string& sentence)
{
    if (mMistake.empty()) {
        mMistake = sentence;
    }
}

std::string CommandWords::finish()
{
    if (mNext < mWords.size()) {
        fail("The command does not take " + quoted(mWords[mNext]) + ".");
    }
    if (!mFields.empty()) {
        fail("The command does not take the field " + quoted(mFields.begin()->first) + ".");
    }
    return mMistake;
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string numberMistake(const std::string& name, const std::string& text, uint32_t least, uint32_t most)
{
    return name + " is not a whole number from " + std::to_string(least) + " to " + std::to_string(most) +
           ": " + quoted(text) + ".";
}

} // namespace server
