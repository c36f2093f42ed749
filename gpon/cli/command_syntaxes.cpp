#include "command_syntaxes.h"

namespace {

#define NODES(...)
#define GPON_CMD(handler, nodes, syntax, help) syntax,
constexpr const char* SYNTAXES[] = {
#include "commands/all.def"
};
#undef GPON_CMD
#undef NODES

} // namespace

std::span<const char* const> gpon_command_syntaxes() {
    return SYNTAXES;
}
