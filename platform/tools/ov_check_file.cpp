// ov_check_file PATH: exits 0 when there is such a file and it can be read, else 1.

#include <filesystem>
#include <system_error>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2)
        return 1;
    std::error_code error;
    bool readable = std::filesystem::is_regular_file(argv[1], error) && access(argv[1], R_OK) == 0;
    return readable ? 0 : 1;
}
