// ov_env_get NAME: prints the value of an environment value and a line feed. Exits 1 when it isn't set, 2
// for a wrong command line.

#include <cstdio>

#include "env_store.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: ov_env_get NAME\n");
        return 2;
    }
    std::optional<std::string> value = env_store_get(argv[1]);
    if (!value)
        return 1;
    value->push_back('\n');
    bool written = fwrite(value->data(), 1, value->size(), stdout) == value->size() && fflush(stdout) == 0;
    return written ? 0 : 1;
}
