#pragma once
// Runs the command-line front end as a separate process from a scratch
// folder test: its exit status and what it printed on each stream.
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/wait.h>

#include "tests/TestSupport.h"

namespace sumora::test {

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string shellQuoted(std::string_view s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

class CliProcessTest : public ScratchFolderTest {
  protected:
    // Runs the CLI with `args` (already shell-quoted), after an optional shell
    // prefix such as a resource limit.
    CliRun run(const std::string& args, const std::string& prefix = "") {
        const std::filesystem::path out = dir_ / ".stdout", err = dir_ / ".stderr";
        std::string command = prefix + " exec " + shellQuoted(SUMORA_CLI_PATH) + " " + args + " >" +
                              shellQuoted(out.string()) + " 2>" + shellQuoted(err.string());
        int raw = std::system(("bash -c " + shellQuoted(command)).c_str());
        CliRun r;
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = slurp(out);
        r.err = slurp(err);
        std::filesystem::remove(out);
        std::filesystem::remove(err);
        return r;
    }
};

} // namespace sumora::test
