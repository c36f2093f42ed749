// A chassis for actions: the platform's tools are played by scripts that note their words, a TFTP server is a
// directory, and the station's directories are empty.
//
//   action_chassis::run([](ActionChassis& chassis) {
//       chassis.serve("load.bin", "content");
//       chassis.create(SACTIONTYPE_UPGRADE, {"10.0.0.1", "69", "load.bin"});
//       EXPECT_EQ(chassis.outcome(SACTIONTYPE_UPGRADE), SACTIONSTATUS_SUCCESS);
//   });
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/mount.h>
#include <sys/stat.h>

#include "../../support/app_chassis.h"
#include "app_columns.h"
#include "app_loop.h"
#include "app_text.h"
#include "ov_app_gpon_action.h"
#include "ov_app_gpon_action_type.h"

class ActionChassis : public AppChassis {
public:
    ActionChassis() {
        app_loop_set(frr_master());
        make_tool("tftp", R"(
if [ "$1" = -l ]; then near=$2 far=$4; else far=$2 near=$4; fi
[ ! -e /tmp/silent ] || exec sleep 1000
[ ! -e "/tmp/refused/$far" ] || { echo part > "$near"; exit 1; }
case $5 in
-p) cp "$near" "/tmp/served/$far" ;;
-g) cp "/tmp/served/$far" "$near" ;;
esac)");
        make_tool("ov_env_put", R"([ ! -e /tmp/store_is_full ] && echo "$2" > "/tmp/env/$1")");
        make_tool("ov_check_file", R"([ -f "$1" ] && [ ! -e /tmp/bad_digest ])");
        for (const char* directory :
             {"/tmp/served", "/tmp/refused", "/home/nms/download", "/flash", VERSIONS})
            std::filesystem::create_directories(directory);
        write("/flash/gpon.conf", "old");
    }

    // ---- files and tools ----------------------------------------------------------------------------

    static constexpr char VERSIONS[] = "/app/appload/onu";

    static void make_tool(const std::string& name, const std::string& script) {
        const std::string path = "/tmp/bin/" + name;
        write(path, "#!/bin/sh\necho \"" + name + " $*\" >> /tmp/calls\n" + script + "\n");
        chmod(path.c_str(), 0755);
    }
    static void write(const std::string& path, const std::string& text) {
        ASSERT_TRUE(private_root::write_file(path, text)) << path;
    }
    static std::string read(const std::string& path) { return private_root::read_file(path); }
    static bool exists(const std::string& path) { return std::filesystem::exists(path); }
    static void serve(const std::string& name, const std::string& text) {
        write("/tmp/served/" + name, text);
    }
    static void refuse(const std::string& name) { write("/tmp/refused/" + name, ""); }
    static std::string served(const std::string& name) { return read("/tmp/served/" + name); }
    // The runs of the tools, since the last look.
    static std::vector<std::string> calls() {
        std::vector<std::string> lines;
        std::ifstream in("/tmp/calls");
        for (std::string line; std::getline(in, line);)
            if (!line.starts_with("ov_env_get"))
                lines.push_back(line);
        std::filesystem::remove("/tmp/calls");
        return lines;
    }

    // ---- actions ------------------------------------------------------------------------------------

    static ActionRow key(int type) {
        ActionRow row = {};
        row.shelfID = GPON_SHELF;
        row.slotID = SLOT;
        row.sActionType = type;
        return row;
    }
    // A row as a command or a manager makes it, without waiting for what it starts.
    static bool begin(int type, const std::vector<std::string>& parameters = {},
                      int status = OVRA_CREATEANDGO) {
        ActionRow row = key(type);
        row.sActionRowStatus = status;
        MIB_Flags_t columns = columns_of(sActionTable_column::sActionRowStatus);
        for (size_t n = 0; n < parameters.size(); ++n) {
            action_parameter_set(row, static_cast<int>(n) + 1, parameters[n].c_str());
            mib_flag_set(columns, static_cast<unsigned>(n) + sActionTable_column::sActionParam1);
        }
        return mib_access(MIB_SET, row, columns);
    }
    // The same again, with nothing left of the first; waits for its end.
    void create(int type, const std::vector<std::string>& parameters = {}) const {
        ActionRow old = key(type);
        mib_access(MIB_DEL, old);
        calls();
        LogCapture::clear();
        EXPECT_TRUE(begin(type, parameters));
        EXPECT_TRUE(loop_until([] { return !is_busy(); }));
    }
    static bool is_busy() {
        sem_wait(&gpon_action_sem);
        const bool busy = gpon_action_busy != 0;
        sem_post(&gpon_action_sem);
        return busy;
    }
    static ActionRow stored(int type) {
        ActionRow row = key(type);
        EXPECT_TRUE(mib_access(MIB_GET_S, row));
        return row;
    }
    static int outcome(int type) { return stored(type).sActionStatus; }
    static int row_status(int type) { return stored(type).sActionRowStatus; }
    static std::string parameter(int type, int number) { return action_parameter(stored(type), number); }

    std::vector<std::string> log() const { return hal.log.lines(); }
};

namespace action_chassis {

inline void run(const std::function<void(ActionChassis&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0 || mount("tmpfs", "/home", "tmpfs", 0, nullptr) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        ActionChassis chassis;
        body(chassis);
    });
}

} // namespace action_chassis
