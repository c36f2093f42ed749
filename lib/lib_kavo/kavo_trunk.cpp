#include "kavo_trunk.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view PREFIX = "trunk";

// The number behind the prefix, 0 for a name that isn't a trunk's.
uint32_t trunk_id(std::string_view name) {
    if (!name.starts_with(PREFIX))
        return 0;
    name.remove_prefix(PREFIX.size());
    uint32_t tid = 0;
    auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), tid);
    bool canonical = error == std::errc() && end == name.data() + name.size() && name.front() != '0';
    return canonical && tid >= TRUNK_MIN && tid <= TRUNK_MAX ? tid : 0;
}

} // namespace

trunk_t* trunk_get_by_name(const char* name) {
    static std::array<trunk_t, TRUNK_MAX + 1> trunks{}; // by id; element 0 stays empty
    uint32_t tid = name != nullptr ? trunk_id(name) : 0;
    if (tid == 0)
        return nullptr;
    trunk_t& trunk = trunks.at(tid);
    if (trunk.tid == 0) {
        trunk.tid = tid;
        snprintf(trunk.name, sizeof(trunk.name), "trunk%u", tid);
    }
    return &trunk;
}
