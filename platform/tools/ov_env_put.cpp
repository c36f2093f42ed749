// ov_env_put NAME VALUE: sets an environment value. Exits 1 when it can't be stored, 2 for a wrong command
// line.

#include <cstdio>
#include <cstring>

#include "env_store.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: ov_env_put NAME VALUE\n");
        return 2;
    }
    int error = env_store_put(argv[1], argv[2]);
    if (error == 0)
        return 0;
    fprintf(stderr, "ov_env_put: %s: %s\n", argv[1], strerror(error));
    return 1;
}
