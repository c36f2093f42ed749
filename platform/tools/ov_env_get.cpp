// ov_env_get NAME: prints the value of an environment value and a line feed. Exits 1 when it isn't set, 2
// for a wrong command line.

#include <cstdio>
#include <iostream>

#include "env_store.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: ov_env_get NAME\n");
        return 2;
    }
    std::optional<std::string> value = env_store_get(argv[1]);
    if (!value)
        return 1;
    std::cout << *value << '\n' << std::flush;
    return std::cout ? 0 : 1;
}
