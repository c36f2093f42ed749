#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "../ov_common/private_root.h"
#include "../support/log_tap.h"
#include "../support/temp_dir.h"
#include "engine_tables.h"
#include "fake_product.h"

namespace {

const std::string EXISTED = "row_add fail: the row existed\r";

// A line of a file, with "|" for the unit separator.
std::string line(std::string text) {
    for (char& c : text) {
        if (c == '|')
            c = '\x1F';
    }
    return text;
}

class File : public testing::Test {
protected:
    File() {
        crates.initialize_table_data();
        mixes.initialize_table_data();
    }

    void load_crates(const std::string& text) {
        dir.write("crateTable.mib", line(text));
        crates.load();
    }
    CrateRow* crate_at(int32_t slot) {
        CrateRow key = crate(1, slot, 1, 1, 1);
        return static_cast<CrateRow*>(row_get(crates.did(), &key));
    }
    void load_mixes(const std::string& text) {
        dir.write("mixTable.mib", line(text));
        mixes.load();
    }
    MixRow* mix_at(int32_t a) {
        MixRow key{};
        key.mixA = a;
        return static_cast<MixRow*>(row_get(mixes.did(), &key));
    }
    // Loads one row with this value in a field of the mix table (3 is the counter) and gives the row.
    MixRow* load_mix_field(size_t field, const std::string& value) {
        mixes.initialize_table_data();
        std::vector<std::string> fields = {"1", "0", "5", "5", "5", "050505050505", "five", "5", "5", "five"};
        // The line before leaves its values to fields that can't be read.
        std::string text = "2|0|7|7|7|070707070707|seven|7|7|seven|\n";
        fields.at(field) = value;
        for (const std::string& one : fields)
            text += one + "|";
        load_mixes(text + "\n");
        return mix_at(1);
    }

    LogTap log;
    TempDir dir;
    ScopedEnv env{MMG_MIB_DATA_DIR_ENV, dir.path()};
    TableModule& crates = crate_module();
    TableModule& mixes = mix_module();
};

// ---- the form --------------------------------------------------------------------------------------

TEST_F(File, AFileWrittenByHandIsLoadedAndSavedBackByteForByte) {
    const std::string text = line("1|2|1|7|3|1024|tc3|77|default|1|\n"
                                  "1|2|1|7|4|0||-594834439||2|\n"
                                  "1|3|1|7|4294967295|-2147483648|a b|2147483647|x|1|\n"
                                  "-1|0|0|0|0|0||0||1|\n");
    load_crates(text);
    EXPECT_EQ(crates.row_count(), 4);
    CrateRow key = crate(1, 2, 1, 7, 3);
    auto* row = static_cast<CrateRow*>(row_get(crates.did(), &key));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->crateAlloc, 1024);
    EXPECT_STREQ(row->crateName, "tc3");
    EXPECT_EQ(row->crateProfile, 77);
    EXPECT_STREQ(row->crateProfName, "default");
    EXPECT_EQ(row->crateRowStatus, OVRA_ACTIVE);
    dir.write("crateTable.mib", "overwritten");
    crates.save_file();
    EXPECT_EQ(dir.read("crateTable.mib"), text);
}

TEST_F(File, EveryColumnTypeIsLoadedAndSavedBackByteForByte) {
    const std::string text =
        line("-5|4294967295|18446744073709551615|-1062731519|1|00A1B2C3D4FF|text|4095|-1|KLM|\n"
             "-4|0|0|0|2|000000000000||0|0||\n");
    load_mixes(text);
    MixRow key{};
    key.mixA = -5;
    key.mixB = 4294967295u;
    auto* row = static_cast<MixRow*>(row_get(mixes.did(), &key));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->mixCount, 18446744073709551615u);
    const unsigned char address[] = {192, 168, 1, 1};
    EXPECT_EQ(memcmp(&row->mixAddress, address, 4), 0);
    const unsigned char mac[] = {0x00, 0xA1, 0xB2, 0xC3, 0xD4, 0xFF};
    EXPECT_EQ(memcmp(row->mixMac, mac, 6), 0);
    mixes.save_file();
    EXPECT_EQ(dir.read("mixTable.mib"), text);
}

TEST_F(File, RowsAreSavedInKeyOrder) {
    load_crates("1|10|1|1|1|0||0||1|\n1|2|1|1|1|0||0||1|\n1|9|1|1|1|0||0||1|\n");
    crates.save_file();
    EXPECT_EQ(dir.read("crateTable.mib"),
              line("1|2|1|1|1|0||0||1|\n1|9|1|1|1|0||0||1|\n1|10|1|1|1|0||0||1|\n"));
}

TEST_F(File, AnEmptyTableIsAnEmptyFile) {
    load_crates("");
    EXPECT_EQ(crates.row_count(), 0);
    dir.write("crateTable.mib", "overwritten");
    crates.save_file();
    EXPECT_EQ(dir.read("crateTable.mib"), "");
}

TEST_F(File, AMissingFileIsCreatedEmpty) {
    crates.load();
    EXPECT_TRUE(std::filesystem::exists(dir.file("crateTable.mib")));
    EXPECT_EQ(crates.row_count(), 0);
    EXPECT_STREQ(crates.path(), dir.file("crateTable.mib").c_str());
}

TEST_F(File, AMissingDirectoryIsMade) {
    ScopedEnv deeper(MMG_MIB_DATA_DIR_ENV, dir.file("a/b"));
    crates.load();
    EXPECT_TRUE(std::filesystem::exists(dir.file("a/b/crateTable.mib")));
}

TEST_F(File, SaveThenLoadReproducesAllColumnsButNotTheShadows) {
    mixes.load();
    auto* row = static_cast<MixRow*>(mixes.create_entry_at(1, 0u));
    row->mixCount = 1;
    row->mixRowStatus = OVRA_ACTIVE;
    row->old_mixRowStatus = OVRA_CREATEANDGO;
    MixRow before = *row;
    mixes.save_file();
    mixes.initialize_table_data();
    mixes.load();
    ASSERT_NE(mix_at(1), nullptr);
    EXPECT_EQ(memcmp(mix_at(1), &before, offsetof(MixRow, old_mixCount)), 0);
    MixRow blank{};
    constexpr size_t shadows = offsetof(MixRow, old_mixCount);
    EXPECT_EQ(memcmp(reinterpret_cast<char*>(mix_at(1)) + shadows, reinterpret_cast<char*>(&blank) + shadows,
                     sizeof(MixRow) - shadows),
              0);
}

TEST_F(File, ALoadedActiveRowIsChangedAndDeletedAsOne) {
    load_crates("1|2|1|1|1|0||0||1|\n");
    EXPECT_EQ(crates.row_mode(crate_at(2)), MODE_CHG);
    CrateRow row = crate(1, 2, 1, 1, 1);
    EXPECT_EQ(crates.access_start(MIB_DEL, &row, mibDefFlags), 1);
    EXPECT_EQ(crates.row_mode(&row), MODE_DEL);
    row = crate(1, 2, 1, 1, 1);
    row.crateRowStatus = OVRA_DESTROY;
    EXPECT_EQ(crates.access_start(MIB_SET, &row, columns({6})), 1);
    EXPECT_EQ(crates.row_mode(&row), MODE_DEL);
}

// ---- bad lines ---------------------------------------------------------------------------------------

TEST_F(File, ALineThatIsOnlyALineFeedIsSkippedAndTheRowsAroundItLoad) {
    load_crates("\n1|1|1|1|1|0||0||1|\n\n\n1|2|1|1|1|0||0||1|\n\n");
    EXPECT_EQ(crates.row_count(), 2);
    EXPECT_NE(crate_at(1), nullptr);
    EXPECT_NE(crate_at(2), nullptr);
}

TEST_F(File, AnEmptyTextFieldKeepsTheColumnsAligned) {
    load_crates("1|1|1|1|1|6||8||1|\n");
    ASSERT_NE(crate_at(1), nullptr);
    EXPECT_STREQ(crate_at(1)->crateName, "");
    EXPECT_EQ(crate_at(1)->crateProfile, 8);
    EXPECT_STREQ(crate_at(1)->crateProfName, "");
    EXPECT_EQ(crate_at(1)->crateRowStatus, 1);
}

TEST_F(File, MissingTrailingFieldsKeepTheValuesOfTheLineBefore) {
    load_crates("1|1|1|1|1|6|six|8|eight|1|\n1|2|1|1|1|7|\n1|3|1|1|1|9|nine");
    ASSERT_NE(crate_at(2), nullptr);
    EXPECT_EQ(crate_at(2)->crateAlloc, 7);
    EXPECT_STREQ(crate_at(2)->crateName, "six");
    EXPECT_EQ(crate_at(2)->crateProfile, 8);
    EXPECT_STREQ(crate_at(2)->crateProfName, "eight");
    EXPECT_EQ(crate_at(2)->crateRowStatus, 1);
    ASSERT_NE(crate_at(3), nullptr);
    EXPECT_STREQ(crate_at(3)->crateName, "nine") << "a last field without its end counts";
}

TEST_F(File, TooManyFieldsAreDropped) {
    load_crates("1|1|1|1|1|6|six|8|eight|1|more|and|more|\n1|2|1|1|1|0||0||1|\n");
    EXPECT_EQ(crates.row_count(), 2);
    EXPECT_EQ(crate_at(1)->crateRowStatus, 1);
    EXPECT_STREQ(crate_at(2)->crateName, "");
}

TEST_F(File, AFileWithoutFinalLineFeedLoadsItsLastRow) {
    load_crates("1|1|1|1|1|0||0||1|\n1|2|1|1|1|0||0||2|");
    ASSERT_NE(crate_at(2), nullptr);
    EXPECT_EQ(crate_at(2)->crateRowStatus, 2);
}

TEST_F(File, OverlongTextsAreCutToTheirColumn) {
    load_crates("1|1|1|1|1|0|" + std::string(33, 'a') + "|0||1|\n" + //
                "1|2|1|1|1|0|" + std::string(34, 'b') + "|0||1|\n" + //
                "1|3|1|1|1|0|" + std::string(5000, 'c') + "|4||1|\n");
    EXPECT_EQ(std::string(crate_at(1)->crateName), std::string(33, 'a'));
    EXPECT_EQ(std::string(crate_at(2)->crateName), std::string(33, 'b'));
    EXPECT_EQ(std::string(crate_at(3)->crateName), std::string(33, 'c'));
    EXPECT_EQ(crate_at(3)->crateProfile, 4);
}

TEST_F(File, AShorterTextLeavesNothingOfTheLineBeforeBehindItsEnd) {
    load_crates("1|1|1|1|1|0|abcdef|0||1|\n1|2|1|1|1|0|x|0||1|\n");
    const char expected[34] = "x";
    EXPECT_EQ(memcmp(crate_at(2)->crateName, expected, sizeof(expected)), 0);
}

TEST_F(File, AnOverlongLineIsReadOnAndDroppedBehindTheBuffer) {
    // The field that lies across the buffer's end is cut there; the fields behind it count as missing.
    std::string text = "1|1|1|1|1|6|six|8|eight|1|\n";
    text += "1|2|1|1|1|0|" + std::string(20000, 'x') + "|99|99|2|\n";
    text += "1|3|1|1|1|0||0||1|\n";
    load_crates(text);
    EXPECT_EQ(crates.row_count(), 3);
    EXPECT_EQ(std::string(crate_at(2)->crateName), std::string(33, 'x'));
    EXPECT_EQ(crate_at(2)->crateProfile, 8) << "of the line before";
    EXPECT_EQ(crate_at(2)->crateRowStatus, 1);
}

TEST_F(File, LinesAroundTheBuffersLengthAreReadToTheEnd) {
    // 16383 characters with the line feed behind them are the longest line that is read whole.
    for (size_t length : {16382u, 16383u, 16384u, 16385u, 40000u, 262144u, 600000u}) {
        crates.initialize_table_data();
        std::string text = "1|1|1|1|1|0||0||3|";
        text.append(length - text.size(), 'z');
        load_crates(text + "\n1|2|1|1|1|0||0||1|\n");
        EXPECT_EQ(crates.row_count(), 2) << length;
        EXPECT_EQ(crate_at(1)->crateRowStatus, 3) << length;
        EXPECT_NE(crate_at(2), nullptr) << length;
    }
}

TEST_F(File, ANulEndsItsLine) {
    std::string text = "1|1|1|1|1|6|six|8|eight|1|\n1|2|1|1|1|7|se";
    text += '\0';
    text += "ven|9|nine|2|\n";
    text += '\0';
    text += "|||\n1|3|1|1|1|0||0||1|\n";
    load_crates(text);
    EXPECT_EQ(crates.row_count(), 3);
    EXPECT_STREQ(crate_at(2)->crateName, "se");
    EXPECT_EQ(crate_at(2)->crateProfile, 8) << "of the line before";
    EXPECT_NE(crate_at(3), nullptr);
}

TEST_F(File, ADuplicateKeyPrintsALineAndTheFirstRowStays) {
    testing::internal::CaptureStdout();
    load_crates("1|1|1|1|1|6||0||1|\n1|1|1|1|1|7||0||2|\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), EXISTED);
    EXPECT_EQ(crates.row_count(), 1);
    EXPECT_EQ(crate_at(1)->crateAlloc, 6);
}

// A start reads each file twice.
class TwiceLoaded : public File {
protected:
    static constexpr char ROWS[] = "1|1|1|1|1|6||0||1|\n\n1|2|1|1|1|7||0||1|\n1|1|1|1|1|8||0||1|\n";

    std::string said_when_loaded(const std::string& text) {
        testing::internal::CaptureStdout();
        load_crates(text);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(TwiceLoaded, EachLineOfTheSecondTimeIsToldAndNoRowChanges) {
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED);
    crate_at(2)->crateAlloc = 70;
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED + EXISTED + EXISTED);
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED + EXISTED + EXISTED);
    EXPECT_EQ(crates.row_count(), 2);
    EXPECT_EQ(crate_at(2)->crateAlloc, 70);
}

TEST_F(TwiceLoaded, AFileThatHasChangedSinceIsReadAnew) {
    load_crates(ROWS);
    std::string changed = ROWS;
    changed.replace(changed.find("1|2|"), 4, "1|3|"); // no longer than before
    EXPECT_EQ(said_when_loaded(changed), EXISTED + EXISTED);
    EXPECT_EQ(crates.row_count(), 3);
    EXPECT_EQ(crate_at(3)->crateAlloc, 7);
    EXPECT_EQ(said_when_loaded(changed + "1|4|1|1|1|9||0||1|\n"), EXISTED + EXISTED + EXISTED);
    EXPECT_EQ(crate_at(4)->crateAlloc, 9);
}

TEST_F(TwiceLoaded, ARowThatHasGoneSinceIsThereAgain) {
    load_crates(ROWS);
    crates.remove_entry(crate_at(2));
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED + EXISTED);
    EXPECT_NE(crate_at(2), nullptr);
    crates.remove_entry(crate_at(2));
    crates.create_entry_at(1, 9, 1, 1, 1u);
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED + EXISTED);
    crates.initialize_table_data();
    EXPECT_EQ(said_when_loaded(ROWS), EXISTED);
    EXPECT_EQ(crates.row_count(), 2);
}

TEST_F(TwiceLoaded, AFileLongerThanWhatIsReadAtOnceIsKnownAgain) {
    std::string text;
    std::string told;
    for (int slot = 1; slot <= 20'000; ++slot) {
        text += "1|" + std::to_string(slot) + "|1|1|1|6|a crate|0||1|\n";
        told += EXISTED;
    }
    EXPECT_EQ(said_when_loaded(text), "");
    EXPECT_EQ(said_when_loaded(text), told);
    text.replace(text.rfind("1|20000|"), 8, "1|20001|");
    EXPECT_EQ(said_when_loaded(text), told.substr(EXISTED.size()));
    EXPECT_EQ(crates.row_count(), 20'001);
}

TEST_F(File, MalformedNumbersLeaveTheColumnAsItWas) {
    for (const char* value : {"", "x", "-", "+", " ", "--5", "x12"}) {
        MixRow* row = load_mix_field(2, value);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->mixCount, 7u) << value;
        EXPECT_EQ(load_mix_field(3, value)->mixAddress, htonl(7)) << value;
        EXPECT_EQ(load_mix_field(7, value)->mixPort, 7u) << value;
        EXPECT_EQ(load_mix_field(8, value)->mixMode, 7) << value;
    }
}

TEST_F(File, NumbersAreReadAsScanfReadsThem) {
    EXPECT_EQ(load_mix_field(8, "  12")->mixMode, 12);
    EXPECT_EQ(load_mix_field(8, "\t+12")->mixMode, 12);
    EXPECT_EQ(load_mix_field(8, "12abc")->mixMode, 12);
    EXPECT_EQ(load_mix_field(8, "12 13")->mixMode, 12);
    EXPECT_EQ(load_mix_field(8, "0x10")->mixMode, 0);
    EXPECT_EQ(load_mix_field(8, "007")->mixMode, 7);
    EXPECT_EQ(load_mix_field(8, "-0")->mixMode, 0);
    EXPECT_EQ(load_mix_field(7, "-1")->mixPort, 4294967295u);
    EXPECT_EQ(load_mix_field(2, "-1")->mixCount, 18446744073709551615u);
}

TEST_F(File, NumbersOutOfRangeBecomeTheNearestOfTheirColumn) {
    EXPECT_EQ(load_mix_field(8, "2147483648")->mixMode, 2147483647);
    EXPECT_EQ(load_mix_field(8, "3700132857")->mixMode, 2147483647);
    EXPECT_EQ(load_mix_field(8, "-2147483648")->mixMode, -2147483647 - 1);
    EXPECT_EQ(load_mix_field(8, "-2147483649")->mixMode, -2147483647 - 1);
    EXPECT_EQ(load_mix_field(8, "99999999999999999999999999")->mixMode, 2147483647);
    EXPECT_EQ(load_mix_field(8, "-99999999999999999999999999")->mixMode, -2147483647 - 1);
    EXPECT_EQ(load_mix_field(7, "4294967296")->mixPort, 4294967295u);
    EXPECT_EQ(load_mix_field(7, "-4294967296")->mixPort, 4294967295u);
    EXPECT_EQ(load_mix_field(2, "18446744073709551616")->mixCount, 18446744073709551615u);
    EXPECT_EQ(load_mix_field(2, "18446744073709551614")->mixCount, 18446744073709551614u);
}

TEST_F(File, AddressesAreReadSignedAndUnsigned) {
    EXPECT_EQ(load_mix_field(3, "-1062731519")->mixAddress, htonl(0xC0A80101));
    EXPECT_EQ(load_mix_field(3, "3232235777")->mixAddress, htonl(0xC0A80101));
    EXPECT_EQ(load_mix_field(3, "0")->mixAddress, 0u);
    EXPECT_EQ(load_mix_field(3, "-1")->mixAddress, 0xFFFFFFFFu);
    EXPECT_EQ(load_mix_field(3, "99999999999")->mixAddress, 0xFFFFFFFFu);
}

TEST_F(File, BadHexDigitsCountAsZeroAndLengthsAreBounded) {
    auto mac = [&](const std::string& value) {
        const unsigned char* bytes = load_mix_field(5, value)->mixMac;
        return std::vector<int>(bytes, bytes + 6);
    };
    EXPECT_EQ(mac("a1B2zz0gFF01"), (std::vector<int>{0xA1, 0xB2, 0, 0, 0xFF, 1}));
    EXPECT_EQ(mac("0102030405060708090A"), (std::vector<int>{1, 2, 3, 4, 5, 6})) << "too long";
    EXPECT_EQ(mac("0102"), (std::vector<int>{1, 2, 7, 7, 7, 7})) << "what is missing stays";
    EXPECT_EQ(mac("01020"), (std::vector<int>{1, 2, 7, 7, 7, 7})) << "an odd digit is dropped";
    EXPECT_EQ(mac(""), (std::vector<int>{7, 7, 7, 7, 7, 7}));
    EXPECT_STREQ(load_mix_field(5, std::string(3000, 'F'))->mixText, "five");
}

TEST_F(File, ASeparatorInsideATextBreaksItsLineOnReading) {
    crates.load();
    auto* row = static_cast<CrateRow*>(crates.create_entry_at(1, 2, 1, 1, 1u));
    set_text(row->crateName, "a\x1F"
                             "5");
    row->crateProfile = 9;
    crates.save_file();
    EXPECT_EQ(dir.read("crateTable.mib"), line("1|2|1|1|1|0|a|5|9||0|\n"));
    crates.initialize_table_data();
    crates.load();
    EXPECT_EQ(crate_at(2)->crateProfile, 5);
}

TEST_F(File, RandomBytesDoNoHarm) {
    unsigned state = 1;
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (int i = 0; i < 2000; ++i) {
            state = state * 1103515245u + 12345u;
            const char pieces[] = "0123456789-\x1F\x1F\x1F\x1F\n\0zF ";
            text +=
                state >> 28 == 0 ? static_cast<char>(state >> 16) : pieces[(state >> 16) % sizeof(pieces)];
        }
        mixes.initialize_table_data();
        testing::internal::CaptureStdout();
        dir.write("mixTable.mib", text);
        mixes.load();
        testing::internal::GetCapturedStdout();
        int rows = mixes.row_count();
        mixes.save_file();
        mixes.initialize_table_data();
        mixes.load();
        EXPECT_EQ(mixes.row_count(), rows);
    }
}

// ---- files that can't be used ---------------------------------------------------------------------------

TEST_F(File, AnUnreadableFileLeavesTheTableAsItIs) {
    std::filesystem::create_directory(dir.file("crateTable.mib")); // as good as forbidden, for root too
    crates.create_entry_at(1, 2, 1, 1, 1u);
    crates.load();
    EXPECT_EQ(crates.row_count(), 1);
    crates.save_file();
    EXPECT_EQ(crates.row_count(), 1);
}

TEST_F(File, AForbiddenFileIsNeitherReadNorEmptied) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root may read everything";
    dir.write("crateTable.mib", line("1|2|1|1|1|0||0||1|\n"));
    chmod(dir.file("crateTable.mib").c_str(), 0);
    crates.load();
    EXPECT_EQ(crates.row_count(), 0);
    chmod(dir.file("crateTable.mib").c_str(), 0600);
    EXPECT_NE(dir.read("crateTable.mib"), "");
}

TEST_F(File, ASaveWhoseDirectoryIsGoneIsLoggedAndLosesNoRow) {
    load_crates("1|2|1|1|1|0||0||1|\n");
    std::filesystem::remove_all(dir.path());
    crates.save_file();
    EXPECT_EQ(crates.row_count(), 1);
    EXPECT_NE(log.texts().back().find("for saving failed"), std::string::npos);
    EXPECT_EQ(log.lines().back().level, OV_LOG_LVL_ERROR);
}

TEST_F(File, AFullDiskIsLoggedAndLosesNoRow) {
    crates.load();
    for (uint32_t id = 0; id < 20; ++id)
        crates.create_entry_at(1, 2, 3, 4, id);
    std::filesystem::remove(dir.file("crateTable.mib"));
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    std::filesystem::create_symlink("/dev/full", dir.file("crateTable.mib"));
    crates.save_file();
    EXPECT_EQ(log.texts().back(),
              "saving " + dir.file("crateTable.mib") + " failed: No space left on device");
    EXPECT_EQ(crates.row_count(), 20);
}

TEST_F(File, APathThatIsTooLongIsRefusedInsteadOfCut) {
    std::string longest = dir.path() + "/";
    longest.append(199 - longest.size() - strlen("/crateTable.mib"), 'd');
    {
        ScopedEnv moved(MMG_MIB_DATA_DIR_ENV, longest);
        crates.load();
        EXPECT_EQ(strlen(crates.path()), 199u);
        EXPECT_TRUE(std::filesystem::exists(longest + "/crateTable.mib"));
    }
    ScopedEnv moved(MMG_MIB_DATA_DIR_ENV, longest + "d");
    crates.load();
    EXPECT_STREQ(crates.path(), "");
    crates.save_file();
}

TEST_F(File, ADirectoryNameThatAShellWouldReadIsNeverRun) {
    std::string word = dir.path() + "/x;touch " + dir.file("ran");
    ScopedEnv moved(MMG_MIB_DATA_DIR_ENV, word);
    crates.load();
    EXPECT_FALSE(std::filesystem::exists(dir.file("ran")));
    EXPECT_FALSE(std::filesystem::exists(dir.file("x")));
}

TEST_F(File, ASaveOnAnotherThreadWaitsForTheTablesMutex) {
    load_crates("1|2|1|1|1|0||0||1|\n");
    dir.write("crateTable.mib", "");
    pthread_mutex_lock(getMutex(crates.did()));
    std::thread saver([&] { crates.save_file(); });
    usleep(50000);
    EXPECT_EQ(dir.read("crateTable.mib"), "");
    pthread_mutex_unlock(getMutex(crates.did()));
    saver.join();
    EXPECT_EQ(dir.read("crateTable.mib"), line("1|2|1|1|1|0||0||1|\n"));
}

// ---- life: the start of a module, and the changed mark ----------------------------------------------

TEST(Life, NoSaveBeforeTheFirstLoad) {
    static TableModule unloaded(GAP_DESC, {nullptr, nullptr, nullptr});
    unloaded.save_file();
    EXPECT_STREQ(unloaded.path(), "");
}

TEST(Life, AChangeMarksTheTableAndLeavesTheFileAlone) {
    LogTap log;
    TempDir dir;
    ScopedEnv env(MMG_MIB_DATA_DIR_ENV, dir.path());
    TableModule& crates = crate_module();
    crates.initialize_table_data();
    crates.load();
    crates.save_if_changed(); // whatever a test before left
    EXPECT_FALSE(crates.changed());
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(MibAccessHandle(MIB_CREATEGO, 0, crates.did(), &row, mibDefFlags, 0), MIB_OK);
    EXPECT_TRUE(crates.changed());
    EXPECT_EQ(dir.read("crateTable.mib"), "");
    crates.save_if_changed();
    EXPECT_EQ(dir.read("crateTable.mib"), line("1|2|3|4|5|0||0||1|\n"));
    EXPECT_EQ(log.texts().back(), "saving changed table crateTable");
    EXPECT_FALSE(crates.changed());
    std::filesystem::remove(dir.file("crateTable.mib"));
    crates.save_if_changed();
    EXPECT_FALSE(std::filesystem::exists(dir.file("crateTable.mib")));
}

TEST(Life, AReadMarksNothing) {
    LogTap log;
    TableModule& crates = crate_module();
    crates.initialize_table_data();
    crates.create_entry_at(1, 2, 3, 4, 5u);
    crates.save_if_changed();
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(MibAccessHandle(MIB_GET, 0, crates.did(), &row, mibDefFlags, 0), MIB_OK);
    EXPECT_FALSE(crates.changed());
}

TEST(Life, TheStartLoadsTheFileTwiceAndEntersTheSaveRegistry) {
    private_root::run([] {
        LogTap log;
        fake_product("exit 1");
        std::filesystem::create_directories("/tmp/data");
        ScopedEnv env(MMG_MIB_DATA_DIR_ENV, "/tmp/data");
        const std::string text = line("1|2|1|1|1|0||0||1|\n1|3|1|1|1|0||0||1|\n");
        private_root::write_file("/tmp/data/crateTable.mib", text);
        testing::internal::CaptureStdout();
        crate_module().init();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), EXISTED + EXISTED);
        EXPECT_EQ(crate_module().row_count(), 2);
        EXPECT_EQ(private_root::read_file("/tmp/product/saveflag.crateTable"), "0\n");
        private_root::write_file("/tmp/data/crateTable.mib", "");
        EXPECT_EQ(mmg_table_save_immediate("crateTable"), 0);
        EXPECT_EQ(private_root::read_file("/tmp/data/crateTable.mib"), text);
    });
}

TEST(Life, WithoutTheEnvironmentFilesLieInTheRunDirectory) {
    private_root::run([] {
        LogTap log;
        unsetenv(MMG_MIB_DATA_DIR_ENV);
        crate_module().initialize_table_data();
        crate_module().load();
        EXPECT_STREQ(crate_module().path(), "/var/run/product/mibdata/crateTable.mib");
        EXPECT_TRUE(std::filesystem::exists("/var/run/product/mibdata/crateTable.mib"));
    });
}

} // namespace
