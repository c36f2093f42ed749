#include "byte_images.h"

#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "records" && argc == 2) {
        print_record_images();
        return 0;
    }
    if (what == "tables" && argc == 3)
        return save_table_images(argv[2]);
    if (what == "resave" && argc == 3)
        return resave_tables(argv[2]);
    std::fputs("Usage: byte_images records\n"
               "       byte_images tables|resave DIRECTORY\n",
               stderr);
    return 2;
}
