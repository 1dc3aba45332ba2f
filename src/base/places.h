// Where the program's own files live: the folders of the XDG Base Directory rules (version 0.8,
// specifications.freedesktop.org/basedir), each with a folder "qorvanite" in it.
//
// A variable that is empty, or names no absolute path, counts as not set. The home folder is $HOME, else the
// one of the user's account; where there is neither, the procedures return an empty text: there is no such
// place, and whoever asks does without.
#pragma once
#include <string>
#include <vector>

namespace Places {

[[nodiscard]] std::string ConfigFolder(); // $XDG_CONFIG_HOME or ~/.config: settings, keys, layouts of dialogs
[[nodiscard]] std::string DataFolder();   // $XDG_DATA_HOME or ~/.local/share: templates, pools, protocols
[[nodiscard]] std::string StateFolder();  // $XDG_STATE_HOME or ~/.local/state: what a crash must not lose
[[nodiscard]] std::string TempFolder();   // $TMPDIR or /tmp itself; of no program

// The folders of the machine's administrator, the one that counts first in front:
// $XDG_CONFIG_DIRS, parted by ":", or /etc/xdg.
[[nodiscard]] std::vector<std::string> SystemConfigFolders();

// Makes the folder and those above it that are missing, for the user alone. 0, or the system's error code.
[[nodiscard]] int EnsureFolder(const std::string& path);

}
