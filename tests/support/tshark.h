#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Runs tshark with the dissector and without the user's own configuration. tshark runs no script for root,
/// so root runs it as an unprivileged user, with copies of the files that it reads.
class Tshark
{
public:
    using Words = std::vector<std::string>;

    /// The result of a run. `complaints` is empty if all went well: tshark ends with status 0 also if a
    /// script fails.
    struct Result
    {
        std::string output;
        std::string complaints;
    };

    explicit Tshark(std::string dissector) : mDissector(std::move(dissector))
    {
        char path[] = "/tmp/tshark-test-XXXXXX";
        mHome = mkdtemp(path);
        std::filesystem::create_directories(mHome + "/plugins");
        if (geteuid() == 0 && chown(mHome.c_str(), kNobody, kNobody) == 0) {
            const std::string id = std::to_string(kNobody);
            mUnprivileged = "setpriv --reuid=" + id + " --regid=" + id + " --clear-groups ";
        }
    }
    ~Tshark() { std::filesystem::remove_all(mHome); }
    Tshark(const Tshark&) = delete;
    Tshark& operator=(const Tshark&) = delete;

    const std::string& home() const { return mHome; }

    /// Reads @p capture with @p options.
    Result read(const std::string& capture, const Words& options) const
    {
        Words words{"-n", "-X", "lua_script:" + readableCopy(mDissector, "/dissector.lua"), "-r",
                    readableCopy(capture, "/read.pcapng")};
        words.insert(words.end(), options.begin(), options.end());
        Result result = run(words);
        if (result.output.find("Lua Error") != std::string::npos) {
            result.complaints += "a Lua error in the output\n";
        }
        return result;
    }

    /// The glossary @p name, with the dissector where a user puts it.
    Result glossary(const std::string& name) const
    {
        const std::string plugin = readableCopy(mDissector, "/plugins/zul.lua");
        Result result = run({"-G", name});
        std::filesystem::remove(plugin);
        return result;
    }

    /// One row for each frame that @p filter shows: the @p names fields, of which one may come several times,
    /// then divided by '|'.
    std::vector<Words> rows(const std::string& capture, const std::string& filter, const Words& names,
                            Words options, std::string* complaints) const
    {
        options.insert(options.end(),
                       {"-Y", filter, "-T", "fields", "-E", "separator=/t", "-E", "aggregator=|"});
        for (const std::string& name : names) {
            options.insert(options.end(), {"-e", name});
        }
        options.insert(options.end(), {"-e", "_ws.lua.error"});
        const Result result = read(capture, options);
        *complaints = result.complaints;
        std::vector<Words> found;
        for (const std::string& line : split(result.output, '\n')) {
            Words row = split(line + '\t', '\t');
            row.resize(names.size() + 1);
            if (!row.back().empty()) {
                *complaints += "a Lua error in a frame: " + row.back() + '\n';
            }
            row.pop_back();
            for (std::string& cell : row) {
                cell = withNumbers(cell);
            }
            found.push_back(row);
        }
        return found;
    }

    static Words split(const std::string& text, char separator)
    {
        Words parts;
        std::istringstream stream(text);
        for (std::string part; std::getline(stream, part, separator);) {
            parts.push_back(part);
        }
        return parts;
    }

private:
    static constexpr uid_t kNobody = 65534;

    /// Copies @p file to @p name in the home directory, for any user to read.
    std::string readableCopy(const std::string& file, const std::string& name) const
    {
        const std::string copy = mHome + name;
        std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::permissions(copy, std::filesystem::perms(0644));
        return copy;
    }

    /// The values in @p cell with booleans as 1 and 0, as tshark 4.0 prints them; 4.4 prints words.
    static std::string withNumbers(const std::string& cell)
    {
        std::string result;
        for (size_t begin = 0; begin <= cell.size();) {
            const size_t end = std::min(cell.find('|', begin), cell.size());
            const std::string value = cell.substr(begin, end - begin);
            result += (begin == 0 ? "" : "|") + (value == "True" ? "1" : value == "False" ? "0" : value);
            begin = end + 1;
        }
        return result;
    }

    static std::string quoted(const std::string& word)
    {
        std::string result = "'";
        for (const char character : word) {
            result += character == '\'' ? std::string("'\\''") : std::string(1, character);
        }
        return result + "'";
    }

    Result run(const Words& words) const
    {
        const std::string errors = mHome + "/errors";
        std::string command = mUnprivileged + "env -i PATH=\"$PATH\" LC_ALL=C.UTF-8 HOME=" + mHome +
                              " WIRESHARK_CONFIG_DIR=" + mHome + " tshark";
        for (const std::string& word : words) {
            command += ' ' + quoted(word);
        }
        command += " 2>" + errors;
        Result result;
        std::FILE* pipe = popen(command.c_str(), "r");
        char block[4096];
        for (size_t count = 0; (count = std::fread(block, 1, sizeof block, pipe)) > 0;) {
            result.output.append(block, count);
        }
        const int status = pclose(pipe);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            result.complaints = "tshark ended with status " + std::to_string(status) + '\n';
        }
        std::FILE* file = std::fopen(errors.c_str(), "r");
        std::string said;
        for (size_t count = 0; (count = std::fread(block, 1, sizeof block, file)) > 0;) {
            said.append(block, count);
        }
        std::fclose(file);
        for (const std::string& line : split(said, '\n')) {
            result.complaints += line + '\n';
        }
        return result;
    }

    const std::string mDissector;
    std::string mHome;
    std::string mUnprivileged;
};
