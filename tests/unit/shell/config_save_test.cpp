#include "config_save.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class ConfigSave : public testing::Test {
protected:
    ConfigSave() {
        std::string pattern = (fs::temp_directory_path() / "config_save.XXXXXX").string();
        place = mkdtemp(pattern.data());
        file = (place / "gpon.conf").string();
    }
    ~ConfigSave() override { fs::remove_all(place); }

    static std::string read(const std::string& path) {
        std::stringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(place))
            found.push_back(entry.path().filename());
        return found;
    }

    fs::path place;
    std::string file;
};

TEST_F(ConfigSave, IsAskedForByTwoCommandsAndTheirShortForms) {
    for (const auto* line : {"write memory", "wr mem", " w  m ", "do write memory", "do wr m",
                             "copy running-config startup-config", "copy run start", "do copy r s"})
        EXPECT_TRUE(asks_to_save(line)) << line;
    for (const auto* line :
         {"write", "write file", "write memory now", "writes memory", "copy run", "memory write",
          "copy startup-config running-config", "do write", "! write memory", ""})
        EXPECT_FALSE(asks_to_save(line)) << line;
}

TEST_F(ConfigSave, KeepsTheFileBeforeItAndNothingElse) {
    EXPECT_EQ(keep_configuration(file, "one\n"), 0);
    EXPECT_EQ(read(file), "one\n");
    EXPECT_THAT(names(), testing::UnorderedElementsAre("gpon.conf"));
    for (const std::string text : {"two\n", "three\n"}) {
        const std::string before = read(file);
        EXPECT_EQ(keep_configuration(file, text), 0);
        EXPECT_EQ(read(file), text);
        EXPECT_EQ(read(file + ".bak"), before);
    }
    EXPECT_THAT(names(), testing::UnorderedElementsAre("gpon.conf", "gpon.conf.bak"));
}

TEST_F(ConfigSave, GoesOnFromWhereAPowerCutLeftIt) {
    std::ofstream(file) << "old\n";
    fs::create_hard_link(file, file + ".bak");
    std::ofstream(file + ".new") << "hal";
    EXPECT_EQ(keep_configuration(file, "new\n"), 0);
    EXPECT_EQ(read(file), "new\n");
    EXPECT_EQ(read(file + ".bak"), "old\n");
    EXPECT_THAT(names(), testing::UnorderedElementsAre("gpon.conf", "gpon.conf.bak"));
}

TEST_F(ConfigSave, LeavesTheFileAsItWasWhenItFails) {
    EXPECT_EQ(keep_configuration((place / "none" / "gpon.conf").string(), "new\n"), ENOENT);
    EXPECT_EQ(keep_configuration(file, "old\n"), 0);
    fs::create_directory(file + ".bak");
    EXPECT_NE(keep_configuration(file, "new\n"), 0);
    EXPECT_EQ(read(file), "old\n");
    EXPECT_THAT(names(), testing::UnorderedElementsAre("gpon.conf", "gpon.conf.bak"));
}

TEST_F(ConfigSave, SaysWhatTheDaemonSaysWhenItGivesNoConfiguration) {
    const auto refused = save_configuration([](const std::string& line) {
        EXPECT_EQ(line, "write file");
        return VtyReply{"% no\n", 2};
    });
    EXPECT_EQ(refused->text, "% no\n");
    EXPECT_EQ(refused->result, 2);
    EXPECT_FALSE(save_configuration([](const std::string&) { return std::nullopt; }));
}

} // namespace
