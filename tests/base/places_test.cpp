#include "base/places.h"
#include "support/environment.h"
#include "support/temp_folder.h"

#include <sys/stat.h>

TEST(Places, FoldersFollowTheVariablesThatNameAbsolutePaths) {
    const Support::Environment environment(
        {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CONFIG_DIRS", "TMPDIR"});
    environment.Set("HOME", "/home/jo");
    EXPECT_EQ(Places::ConfigFolder(), "/home/jo/.config/qorvanite");
    EXPECT_EQ(Places::DataFolder(), "/home/jo/.local/share/qorvanite");
    EXPECT_EQ(Places::StateFolder(), "/home/jo/.local/state/qorvanite");
    EXPECT_EQ(Places::TempFolder(), "/tmp");
    for (const char* const ignored : {"", "relative/path"}) {
        for (const char* const name : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "TMPDIR"})
            environment.Set(name, ignored);
        EXPECT_EQ(Places::ConfigFolder(), "/home/jo/.config/qorvanite");
        EXPECT_EQ(Places::SystemConfigFolders(), std::vector<std::string>{"/etc/xdg/qorvanite"});
        EXPECT_EQ(Places::TempFolder(), "/tmp");
    }
    environment.Set("XDG_CONFIG_HOME", "/c");
    environment.Set("XDG_CONFIG_DIRS", "/a::b:/c");
    EXPECT_EQ(Places::ConfigFolder(), "/c/qorvanite");
    EXPECT_EQ(Places::SystemConfigFolders(), (std::vector<std::string>{"/a/qorvanite", "/c/qorvanite"}));
    // Without a usable HOME the account's folder counts; where it has one, it is absolute.
    environment.Set("XDG_CONFIG_HOME", "");
    environment.Set("HOME", "nowhere");
    const std::string folder = Places::ConfigFolder();
    EXPECT_TRUE(folder.empty() || folder.starts_with('/')) << folder;
    EXPECT_EQ(folder.find("nowhere"), std::string::npos);
}

TEST(Places, AFolderIsMadeForTheUserAloneAndWhatIsInTheWayIsAnError) {
    const Support::TempFolder folder;
    const std::string deep = folder.At("a/b/c");
    EXPECT_EQ(Places::EnsureFolder(deep), 0);
    EXPECT_EQ(Places::EnsureFolder(deep + "/"), 0);
    struct stat status {};
    ASSERT_EQ(::stat(deep.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    const std::string file = folder.Write("file", "");
    EXPECT_NE(Places::EnsureFolder(file), 0);
    EXPECT_NE(Places::EnsureFolder(file + "/below"), 0);
    EXPECT_EQ(Places::EnsureFolder(""), ENOENT);
}
