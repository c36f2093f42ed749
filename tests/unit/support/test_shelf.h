// A shelf of a given type and an empty interface list, for the life of the object. The platform's
// environment tool is played by a script, so the machine's own has no say.
#pragma once

#include <string>

#include <sys/stat.h>

#include "kavo_if.h"
#include "ov_product.h"
#include "ov_slot.h"
#include "temp_dir.h"

class TestShelf {
public:
    explicit TestShelf(uint32_t shelf_type) : path_("PATH", dir_.path() + ":" + machine_path()) {
        const std::string tool =
            dir_.write("ov_env_get", "#!/bin/sh\n[ \"$1\" = PDT_INFO_SHELF_TYPE ] && echo " +
                                         std::to_string(shelf_type) + "\n");
        chmod(tool.c_str(), 0755);
        clear();
        if (ov_product_get_shelf_type() != shelf_type) // one run of the tool per fact: slow
            ov_product_deinit();
        ov_slot_init();
        uif_init();
    }
    ~TestShelf() { clear(); }
    TestShelf(const TestShelf&) = delete;
    TestShelf& operator=(const TestShelf&) = delete;

private:
    static std::string machine_path() {
        const char* path = getenv("PATH");
        return path ? path : "/bin:/usr/bin";
    }
    static void clear() {
        uif_deinit();
        ov_slot_deinit();
    }

    TempDir dir_;
    ScopedEnv path_;
};
