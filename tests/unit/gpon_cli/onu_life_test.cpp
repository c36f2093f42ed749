// ONUs added, changed and deleted.
#include "onu_fixture.h"

namespace {

class OnuLife : public OnuCli {
protected:
    OnuLife() {
        add_port(1, 2);
        add_profile(9, "nine", "KLM-618");
    }
};

struct Auth {
    const char* words;
    mib_long mode;
    Columns columns; // beside the mode, ascending
};
const Auth forms[] = {
    {"sn ABCD12345678", 1, {5}},
    {"pw 1234567890", 2, {6}},
    {"sn ABCD12345678 pw 1234567890", 3, {5, 6}},
    {"loid 123456789012345678901234", 4, {7}},
    {"loid 123456789012345678901234 pw 123456789012", 5, {7, 8}},
    {"l x p y", 5, {7, 8}}, // keywords shortened
};

Columns joined(Columns a, std::initializer_list<unsigned> b) {
    a.insert(a.end(), b);
    std::sort(a.begin(), a.end());
    return a;
}

CLI_TEST(OnuLife, FormsOfAuthenticationWriteTheirColumns) {
    for (const Auth& form : forms) {
        EXPECT_EQ(run(port_, std::string("onu 128 type KLM-618 ") + form.words), "");
        EXPECT_EQ(app.calls.back(), "onu_add");
        EXPECT_THAT(app.columns, written(joined(form.columns, {4, 13}))) << form.words;
        EXPECT_EQ(app.onu.sOnuTableAuthMode, form.mode) << form.words;
        EXPECT_STREQ(app.onu.sOnuTableOnuTypeProfileName, "KLM-618");
        EXPECT_EQ(app.onu.sOnuTableConfigMode, SONUTABLECONFIGMODE_MANUALLY);
        EXPECT_EQ(std::tie(app.onu.shelfID, app.onu.slotID, app.onu.portID, app.onu.onuId),
                  std::make_tuple(1, 1, 2, 128));
        run(port_, "no onu 128");
    }
}

CLI_TEST(OnuLife, AnOnuByProfileNamesTheProfileInsteadOfAType) {
    for (const Auth& form : forms) {
        EXPECT_EQ(run(port_, std::string("onu 1 profile nine ") + form.words), "");
        EXPECT_THAT(app.columns, written(joined(form.columns, {4, 23, 24}))) << form.words;
        EXPECT_EQ(app.onu.sOnuTableSrvProfileId, 9u);
        EXPECT_EQ(app.onu.sOnuTableConfigMode, SONUTABLECONFIGMODE_TEMPLET);
        run(port_, "no onu 1");
    }
}

CLI_TEST(OnuLife, AChangeWritesTheSameColumnsAlone) {
    add_onu(1, 2, 1);
    for (const Auth& form : forms) {
        EXPECT_EQ(run(port_, std::string("onu modify 1 ") + form.words), "");
        EXPECT_EQ(app.calls.back(), "onu_edit");
        EXPECT_EQ(app.columns, joined(form.columns, {4})) << form.words;
        EXPECT_EQ(app.onu.sOnuTableAuthMode, form.mode);
        EXPECT_EQ(app.onu.onuId, 1);
    }
}

CLI_TEST(OnuLife, TextsGoToTheirFieldsInWhole) {
    run(port_, "onu 1 type KLM-618 loid 123456789012345678901234 pw 123456789012");
    EXPECT_STREQ(app.onu.sOnuTableLoid, "123456789012345678901234");
    EXPECT_STREQ(app.onu.sOnuTableLoidPw, "123456789012");
    EXPECT_STREQ(app.onu.sOnuTablePw, "");
    run(port_, "onu 2 type KLM-618 sn ABCD12345678 pw 1234567890");
    EXPECT_STREQ(app.onu.sOnuTableSn, "ABCD12345678");
    EXPECT_STREQ(app.onu.sOnuTablePw, "1234567890");
    EXPECT_STREQ(app.onu.sOnuTableLoidPw, "");
}

CLI_TEST(OnuLife, TextsThatAreTooLongAreRefusedBeforeAnythingIsTried) {
    for (const char* words : {"sn 12345678901234567", "pw 12345678901", "loid 1234567890123456789012345",
                              "sn 12345678901234567 pw 1", "sn 1 pw 12345678901",
                              "loid 1234567890123456789012345 pw 1", "loid 1 pw 1234567890123"})
        for (const char* command : {"onu 1 type KLM-618 ", "onu 1 profile nine ", "onu modify 1 "})
            EXPECT_EQ(run(port_, std::string(command) + words, 104006), "%Bad parameters\n") << words;
    EXPECT_EQ(run(port_, "onu 1 type " + std::string(33, 't') + " pw 1", 104006),
              "%Profile name length is too long\n");
    EXPECT_EQ(run(port_, "onu 1 profile " + std::string(65, 'p') + " pw 1", 104006),
              "%Bad profile name length\n");
    EXPECT_EQ(run(port_, "onu 1 profile ten pw 1", 104001), "%Onu srv profile not exist\n");
    EXPECT_EQ(app.calls, Calls{});
    add_onutype(std::string(32, 't').c_str());
    run(port_, "onu 1 type " + std::string(32, 't') + " pw 1");
    EXPECT_EQ(app.onu.sOnuTableOnuTypeProfileName, std::string(32, 't'));
}

CLI_TEST(OnuLife, NumbersBeyondAPortsAreNoCommands) {
    for (const char* line : {"onu 0 type T pw x", "onu 129 type T pw x", "no onu 0", "no onu 129",
                             "onu modify 129 pw x", "onu 1 type T pw x pw y"})
        EXPECT_EQ(port_.run(line), CMD_ERR_NO_MATCH) << line;
    EXPECT_EQ(app.calls, Calls{});
}

CLI_TEST(OnuLife, AFailureTellsPortOnuAndCode) {
    add_onu(1, 2, 9);
    app.refuses = true;
    EXPECT_EQ(run(port_, "onu 7 type KLM-618 pw x", 104006),
              "add onu ponid = 2, onuid  7 failed , rtn=1003 \n");
    EXPECT_EQ(run(port_, "onu 8 profile nine pw x", 104006),
              "add onu ponid = 2, onuid  8 failed , rtn=1003 \n");
    EXPECT_EQ(run(port_, "onu modify 9 pw x", 104006), "add onu ponid = 2, onuid  9 failed , rtn=1003 \n");
    EXPECT_EQ(run(port_, "no onu 9", 104006), "%Failed to delete ONU\n");
}

CLI_TEST(OnuLife, WithoutAPortNothingIsAdded) {
    kavo_vty_set_index(port_.vty, 0);
    for (const char* line : {"onu 1 type KLM-618 pw x", "onu 1 profile nine pw x", "onu modify 1 pw x"})
        EXPECT_EQ(run(port_, line, 104006), "PON port not found\n");
    EXPECT_EQ(app.calls, Calls{});
}

CLI_TEST(OnuLife, AnOnuIsDeletedByItsNumber) {
    add_onu(1, 2, 128);
    EXPECT_EQ(run(port_, "no onu 128"), "");
    EXPECT_EQ(app.calls, Calls{"onu_del"});
    EXPECT_EQ(app.onu.onuId, 128);
}

} // namespace
