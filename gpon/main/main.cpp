#include "build_facts.h"
#include "gpon_main.h"

int main(int argc, char** argv) {
    ov_build_set_facts(build_facts);
    return gpon_main(argc, argv);
}
