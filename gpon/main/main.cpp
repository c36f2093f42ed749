#include "gpon_main.h"

int main(int argc, char** argv) {
    return gpon_main(argc, argv);
}
