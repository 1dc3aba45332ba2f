// The built program as users run it, with settings of its own and no display: nothing of the developer's
// account counts.
#pragma once
#include "support/fixtures.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace Support {

struct Result {
    int Status = -1;
    std::string Out, Errors;
};

// Runs the program among the recordings, with its input closed. The words go through the shell; configHome is
// where the user's settings are, empty for a user who has none.
inline Result Qorvanite(const std::string& words, const std::string& out = "",
                        const std::string& configHome = "") {
    const TempFolder folder;
    const std::string output = out.empty() ? folder.At("out") : out;
    const std::string home = configHome.empty() ? folder.At("config") : configHome;
    const std::string line =
        "cd '" + Recording("") + "' && XDG_CONFIG_DIRS='" + folder.At("none") + "' XDG_CONFIG_HOME='" + home +
        "' env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM '" QORVANITE_PROGRAM "' " + words +
        " </dev/null >'" + output + "' 2>'" + folder.At("errors") + "'";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.empty() ? ReadWhole(output) : "",
            ReadWhole(folder.At("errors"))};
}

inline Json RunJson(const std::string& words) {
    const Result result = Qorvanite(words + " --json");
    EXPECT_EQ(result.Status, 0) << result.Errors;
    return Json::parse(result.Out, nullptr, false);
}

}
