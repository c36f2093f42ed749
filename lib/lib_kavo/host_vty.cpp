#include "host_vty.h"

#include <array>
#include <ctime>
#include <malloc.h>

#include "kavo_cmd_rows.h"
#include "ov_build_info.h"
#include "ov_clock.h"
#include "ov_product.h"

namespace {

void print_start(struct vty* vty, const char* nl) {
    const time_t began = ov_process_start_time();
    const time_t up = ov_wall_time() - began;
    tm calendar = {};
    std::array<char, 32> text = {};
    localtime_r(&began, &calendar);
    strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &calendar);
    vty_out(vty, "  started    %s, up %ld days %02d:%02d:%02d%s", text.data(), static_cast<long>(up / 86400),
            static_cast<int>(up / 3600 % 24), static_cast<int>(up / 60 % 60), static_cast<int>(up % 60), nl);
}

int show_version(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** /*argv*/) {
    const char* const nl = kavo_newline(vty);
    const char* const product = ov_product_get_sysinfo_product_name();
    vty_out(vty, "  product    %s%s", product[0] != '\0' ? product : "-", nl);
    vty_out(vty, "  version    %s %s%s", ov_build_product(), ov_build_version(), nl);
    vty_out(vty, "  built      %s from %s, %s, %s%s", ov_build_time(), ov_build_commit(), ov_build_type(),
            ov_build_compiler(), nl);
    print_start(vty, nl);
    return 0;
}

int print_memory_of(void* vty_arg, struct memgroup* /*group*/, struct memtype* type) {
    if (type == nullptr || type->n_alloc == 0)
        return 0;
    auto* vty = static_cast<struct vty*>(vty_arg);
    vty_out(vty, "  %-40s  %10zu  %12zu%s", type->name, static_cast<size_t>(type->n_alloc),
            static_cast<size_t>(type->total), kavo_newline(vty));
    return 0;
}

// By type for what is counted, and the whole heap: rows of tables and texts are in that only.
int show_memory(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** /*argv*/) {
    const char* const nl = kavo_newline(vty);
    const auto heap = mallinfo2();
    vty_out(vty, "  heap in use %zu bytes, taken from the system %zu bytes%s", heap.uordblks + heap.hblkhd,
            heap.arena + heap.hblkhd, nl);
    vty_out(vty, "  %-40s  %10s  %12s%s", "counted by type", "pieces", "bytes", nl);
    qmem_walk(print_memory_of, vty);
    return 0;
}

int show_help(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** /*argv*/) {
    static const char* const lines[] = {
        "  Words may be shortened as long as they can be told apart (\"sh ver\").",
        "  ?              in the shell: what can stand here, with a line for each word",
        "  Tab            in the shell: completes a word",
        "  list           the commands of this mode",
        "  find TEXT      the commands of all modes that have it",
        "  exit, end      leave this mode, or all of them",
    };
    for (const char* line : lines)
        vty_out(vty, "%s%s", line, kavo_newline(vty));
    return 0;
}

const kavo_cmd_t host_cmds[] = {
#include "host_vty.def"
};

} // namespace

void host_vty_init() {
    kavo_cmd_install(host_cmds);
}
