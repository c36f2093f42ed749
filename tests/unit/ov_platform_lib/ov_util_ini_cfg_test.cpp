#include "ov_util_ini_cfg.h"

#include <cerrno>
#include <climits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <iniparser/iniparser.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../support/temp_dir.h"

namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class IniFile : public ::testing::Test {
protected:
    int get(const std::string& text, const char* section, const char* key, int dflt = -7) {
        return ov_util_ini_cfg_get_int(dir_.write("f.ini", text).c_str(), section, key, dflt);
    }
    std::string get_str(const char* section, const char* key) {
        return ov_util_ini_cfg_get_str(dir_.file("f.ini").c_str(), section, key, "(none)");
    }
    int set(const char* section, const char* key, const char* value) {
        return ov_util_ini_cfg_set_val(dir_.file("f.ini").c_str(), section, key, value);
    }

    TempDir dir_;
};

TEST_F(IniFile, GivesTheIntegerOfAKey) {
    EXPECT_EQ(get("[gpon]\nconfigRestoreDebug = 3\n", "gpon", "configRestoreDebug"), 3);
    EXPECT_EQ(get("[gpon]\nx = -12\n", "gpon", "x"), -12);
    EXPECT_EQ(get("[gpon]\nx = 0x1f\n", "gpon", "x"), 31);
    EXPECT_EQ(get("[gpon]\nx = 017\n", "gpon", "x"), 15);
    EXPECT_EQ(get("[gpon]\nx = 5 ; why\n", "gpon", "x"), 5);
}

TEST_F(IniFile, IgnoresCase) {
    EXPECT_EQ(get("[GPon]\nConfigDebug = 3\n", "gpoN", "configdebuG"), 3);
}

TEST_F(IniFile, GivesTheDefaultForWhatIsMissing) {
    EXPECT_EQ(get("[gpon]\nx = 3\n", "gpon", "y"), -7);
    EXPECT_EQ(get("[gpon]\nx = 3\n", "other", "x"), -7);
    EXPECT_EQ(get("", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 3\n", nullptr, "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 3\n", "gpon", nullptr), -7);
    EXPECT_EQ(get("[gpon]\nx = 3\n", std::string(5000, 'a').c_str(), "x"), -7);
    EXPECT_EQ(get_str("gpon", "y"), "(none)");
}

TEST_F(IniFile, GivesTheDefaultForAValueThatIsNoNumber) {
    EXPECT_EQ(get("[gpon]\nx = yes\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 3x\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx =\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 2147483648\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 99999999999999999999\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = 2147483647\n", "gpon", "x"), INT_MAX);
}

TEST_F(IniFile, GivesTheDefaultSilentlyForAFileThatCannotBeRead) {
    CaptureStderr();
    EXPECT_EQ(ov_util_ini_cfg_get_int(dir_.file("absent").c_str(), "gpon", "x", 4), 4);
    EXPECT_EQ(ov_util_ini_cfg_get_int(dir_.path().c_str(), "gpon", "x", 4), 4);
    EXPECT_EQ(ov_util_ini_cfg_get_int(nullptr, "gpon", "x", 4), 4);
    EXPECT_EQ(ov_util_ini_cfg_get_int("", "gpon", "x", 4), 4);
    EXPECT_EQ(ov_util_ini_cfg_get_str(nullptr, "gpon", "x", "d"), "d");
    std::string path = dir_.write("secret", "[gpon]\nx = 3\n");
    chmod(path.c_str(), 0);
    int expected = access(path.c_str(), R_OK) == 0 ? 3 : 4; // root reads everything
    EXPECT_EQ(ov_util_ini_cfg_get_int(path.c_str(), "gpon", "x", 4), expected);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(IniFile, CountsAMalformedFileAsMissingValues) {
    CaptureStderr();
    EXPECT_EQ(get("[gpon]\nx = 3\nthis is no line\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon\nx = 3\n", "gpon", "x"), -7);
    EXPECT_EQ(get("[gpon]\nx = " + std::string(3000, '1') + "\n", "gpon", "x"), -7);
    EXPECT_EQ(get(std::string("\0\1\2\377=\0[", 7), "gpon", "x"), -7);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(IniFile, SurvivesAnyContent) {
    std::mt19937 random(7);
    const std::string letters = "[]=;#:\"'\\ \tabx1\n\r";
    CaptureStderr();
    for (int round = 0; round < 500; round++) {
        std::string text(random() % 60, ' ');
        for (char& c : text)
            c = random() % 8 == 0 ? char(random()) : letters[random() % letters.size()];
        int value = get(text, "a", "x");
        EXPECT_TRUE(value == -7 || text.find('=') != std::string::npos);
    }
    EXPECT_EQ(GetCapturedStderr(), "");
}

// ---- writing -----------------------------------------------------------------------------------

TEST_F(IniFile, SetCreatesFileAndSection) {
    EXPECT_EQ(set("action", "dump_slot_info", "0"), 0);
    EXPECT_EQ(set("action", "dump_cmd_all", "1"), 0);
    EXPECT_EQ(set("debug", "x", "2"), 0);
    EXPECT_EQ(get_str("action", "dump_slot_info"), "0");
    EXPECT_EQ(get_str("action", "dump_cmd_all"), "1");
    EXPECT_EQ(get_str("debug", "x"), "2");
}

TEST_F(IniFile, SetReplacesOneValueAndKeepsTheOthers) {
    dir_.write("f.ini", "lone = 9\n[A]\nx = 1\ny = 'two ; words '\n[b]\nx = 3\n[a]\nz = 4\n[empty]\n");
    EXPECT_EQ(set("a", "X", "11"), 0);
    EXPECT_EQ(get_str("a", "x"), "11");
    EXPECT_EQ(get_str("a", "y"), "two ; words ");
    EXPECT_EQ(get_str("a", "z"), "4");
    EXPECT_EQ(get_str("b", "x"), "3");
    EXPECT_EQ(get_str("", "lone"), "9");
    EXPECT_NE(dir_.read("f.ini").find("[empty]"), std::string::npos);
}

TEST_F(IniFile, SetKeepsKeysWithColons) {
    dir_.write("f.ini", "[a]\nb:c = 1\n[a:b]\nd = 2\n[x]\ny: = 3\n");
    EXPECT_EQ(set("z", "z", "1"), 0);
    EXPECT_EQ(get_str("a", "b:c"), "1");
    EXPECT_EQ(get_str("a:b", "d"), "2");
    EXPECT_EQ(get_str("x", "y:"), "3");
    EXPECT_EQ(get_str("z", "z"), "1");
}

// All entries of a file as iniparser sees them; nothing for a malformed one.
std::optional<std::map<std::string, std::string>> entries_of(const std::string& path) {
    std::unique_ptr<dictionary, decltype(&iniparser_freedict)> ini(iniparser_load(path.c_str()),
                                                                   iniparser_freedict);
    if (!ini)
        return std::nullopt;
    std::map<std::string, std::string> entries;
    for (int i = 0; i < ini->size; i++) {
        if (ini->key[i] != nullptr && *ini->key[i] != '\0') // "[]" says nothing
            entries[ini->key[i]] = ini->val[i] != nullptr ? ini->val[i] : "(section)";
    }
    return entries;
}

TEST_F(IniFile, SetKeepsEveryOtherEntryOfAFile) {
    std::mt19937 random(25);
    const std::vector<std::string> pieces = {"[a]\n", "[a:b]\n", "[b]\n", "[a:;b]\n", "a",  "b", ":",
                                             "=",     "= ",      "1\n",   "'",        "\"", ";", "\n",
                                             "# ",    "x=1\n",   "b:",    "[",        "]\n"};
    set("warm", "up", "1"); // iniparser is silent from here on
    int rewritten = 0;
    for (int round = 0; round < 1500; round++) {
        std::string text;
        for (size_t n = random() % 16; n > 0; n--)
            text += pieces[random() % pieces.size()];
        std::string path = dir_.write("f.ini", text);
        auto expected = entries_of(path);
        if (!expected) {
            ASSERT_EQ(set("z", "z", "1"), EBADMSG) << text;
            continue;
        }
        ASSERT_EQ(set("z", "z", "1"), 0) << text;
        (*expected)["z"] = "(section)";
        (*expected)["z:z"] = "1";
        ASSERT_EQ(entries_of(path), expected) << text << "----\n" << dir_.read("f.ini");
        rewritten++;
    }
    EXPECT_GT(rewritten, 100);
}

TEST_F(IniFile, SetRefusesNamesAndValuesThatTheFileCannotHold) {
    std::string before = "[a]\nx = 1\n";
    dir_.write("f.ini", before);
    for (const char* name : {"", "a]", "[a", "a:b", "a=b", "a\nb", "a\r", " a", "a ", ";a", "#a"}) {
        EXPECT_EQ(set(name, "x", "2"), EINVAL) << name;
        EXPECT_EQ(set("a", name, "2"), EINVAL) << name;
    }
    EXPECT_EQ(set("a", "x", "two\nlines"), EINVAL);
    EXPECT_EQ(set("a", "x", "'\";"), EINVAL);
    EXPECT_EQ(set("a", "x", nullptr), EINVAL);
    EXPECT_EQ(set(nullptr, "x", "1"), EINVAL);
    EXPECT_EQ(set("a", nullptr, "1"), EINVAL);
    EXPECT_EQ(set("a", "x", std::string(2000, '1').c_str()), EMSGSIZE);
    EXPECT_EQ(ov_util_ini_cfg_set_val(nullptr, "a", "x", "1"), EINVAL);
    EXPECT_EQ(dir_.read("f.ini"), before);
}

TEST_F(IniFile, SetLeavesWhatItCannotReadAlone) {
    std::string before = "[a]\nnot a line\n";
    dir_.write("f.ini", before);
    EXPECT_EQ(set("a", "x", "1"), EBADMSG);
    EXPECT_EQ(dir_.read("f.ini"), before);
    EXPECT_NE(ov_util_ini_cfg_set_val(dir_.path().c_str(), "a", "x", "1"), 0);
    EXPECT_EQ(ov_util_ini_cfg_set_val(dir_.file("absent/f").c_str(), "a", "x", "1"), ENOENT);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()), {}), 1); // nothing left over
}

TEST_F(IniFile, SetKeepsThePermissionsOfTheFile) {
    std::string path = dir_.write("f.ini", "[a]\nx = 1\n");
    chmod(path.c_str(), 0640);
    EXPECT_EQ(set("a", "x", "2"), 0);
    struct stat st {};
    stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(IniFile, ReadsBackEveryValueItAccepted) {
    std::mt19937 random(11);
    const std::string letters = "[]=;#:\"'\\ \tabx1%";
    int accepted = 0;
    for (int round = 0; round < 600; round++) {
        std::string value(random() % 12, ' ');
        for (char& c : value)
            c = letters[random() % letters.size()];
        if (set("s", "k", value.c_str()) != 0)
            continue;
        accepted++;
        ASSERT_EQ(get_str("s", "k"), value);
        ASSERT_EQ(set("t", "other", "1"), 0); // and after a rewrite for another key
        ASSERT_EQ(get_str("s", "k"), value);
    }
    EXPECT_GT(accepted, 400);
}

TEST_F(IniFile, AcceptsTheLongestValueAndReadsItBack) {
    std::string value(1000 - 8 - 2, 'v');
    EXPECT_EQ(set("s", "k", value.c_str()), 0);
    EXPECT_EQ(get_str("s", "k"), value);
    EXPECT_EQ(set("s", "k", (value + "v").c_str()), EMSGSIZE);
    EXPECT_EQ(get_str("s", "k"), value);
}

} // namespace
