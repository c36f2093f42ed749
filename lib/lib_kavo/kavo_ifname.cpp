// Interface names as operators type them.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "kavo_if.h"
#include "ov_name_scan.h"

namespace {

constexpr size_t TYPED_NAME_MIN = 4;
constexpr size_t TYPED_NAME_MAX = 20;
constexpr int TRUNK_ID_MIN = 1;
constexpr int TRUNK_ID_MAX = 16;

// Prints a canonical name whole, or gives null: a cut name could be another port's.
__attribute__((format(printf, 2, 3))) char* print_extended(char* extend_name, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    int size = vsnprintf(extend_name, UIF_NAME_SIZE, fmt, args);
    va_end(args);
    return size >= 0 && size < UIF_NAME_SIZE ? extend_name : nullptr;
}

// The text behind the longest beginning of `word` that `name` starts with; null when not even the first
// letter agrees.
const char* behind_abbreviation(const char* name, const char* word) {
    const char* text = name;
    while (*word != '\0' && *text == *word) {
        text++;
        word++;
    }
    return text != name ? text : nullptr;
}

bool starts_with(const char* name, const char* prefix) {
    return strncmp(name, prefix, strlen(prefix)) == 0;
}

char* extend_olt(char* extend_name, const char* name) {
    const char* text = behind_abbreviation(name, "gpon-olt");
    int slot = 0;
    int port = 0;
    if (text == nullptr || ov_name_scan(text, "#/#", {&slot, &port}).converted != 2)
        return nullptr;
    // Exactly as the numbers print: 1/1:1 is an ONU's and 01/1 nobody's.
    char exact[32];
    snprintf(exact, sizeof exact, "%d/%d", slot, port);
    return strcmp(text, exact) == 0 ? print_extended(extend_name, "gpon-olt%s", exact) : nullptr;
}

char* extend_onu(char* extend_name, const char* name) {
    const char* text = behind_abbreviation(name, "gpon-onu");
    if (text == nullptr)
        return nullptr;
    int slot = 0;
    int port = 0;
    int onu = 0;
    const auto scan = ov_name_scan(text, "#/#:#", {&slot, &port, &onu});
    if (scan.converted != 3 || *scan.rest != '\0')
        return nullptr;
    return print_extended(extend_name, "gpon-onu%d/%d:%d", slot, port, onu);
}

} // namespace

char* if_extend_physics_port(char* extend_name, const char* name) {
    if (extend_name == nullptr || name == nullptr || *name == '\0' || strchr("fgx", *name) == nullptr)
        return nullptr;
    const char* rest = name[1] == 'e' ? name + 2 : name + 1;
    int slot = 0;
    int port = 0;
    if (ov_name_scan(rest, "#/#", {&slot, &port}).converted != 2)
        return nullptr;
    return print_extended(extend_name, "%ce%s", *name, rest);
}

char* if_extend_trunk(char* extend_name, const char* name) {
    if (extend_name == nullptr || name == nullptr)
        return nullptr;
    const char* text = behind_abbreviation(name, "trunk");
    if (text == nullptr)
        return nullptr;
    int id = 0;
    const auto scan = ov_name_scan(text, "#", {&id});
    if (scan.converted != 1 || *scan.rest != '\0' || id < TRUNK_ID_MIN || id > TRUNK_ID_MAX)
        return nullptr;
    return print_extended(extend_name, "trunk%d", id);
}

char* if_extend_gpon(char* extend_name, const char* name) {
    if (extend_name == nullptr || name == nullptr)
        return nullptr;
    if (char* olt = extend_olt(extend_name, name); olt != nullptr)
        return olt;
    return extend_onu(extend_name, name);
}

char* uif_extend_ifname(char* extend_name, const char* name) {
    if (extend_name == nullptr || name == nullptr)
        return nullptr;
    const size_t len = strlen(name);
    if (len < TYPED_NAME_MIN || len > TYPED_NAME_MAX)
        return nullptr;
    if (starts_with(name, "f") || starts_with(name, "ge") || starts_with(name, "x"))
        return if_extend_physics_port(extend_name, name);
    if (starts_with(name, "t"))
        return if_extend_trunk(extend_name, name);
    if (starts_with(name, "gp"))
        return if_extend_gpon(extend_name, name);
    return nullptr;
}
