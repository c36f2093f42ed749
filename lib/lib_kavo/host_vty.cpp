#include "host_vty.h"

#include <array>
#include <ctime>
#include <malloc.h>

#include "kavo_cmd_rows.h"
#include "ov_build_info.h"
#include "ov_clock.h"
#include "ov_product.h"

namespace {

void print_start(const CliCall& call) {
    const time_t began = ov_process_start_time();
    const time_t up = ov_wall_time() - began;
    tm calendar = {};
    std::array<char, 32> text = {};
    localtime_r(&began, &calendar);
    strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &calendar);
    call.line("  started    %s, up %ld days %02d:%02d:%02d", text.data(), static_cast<long>(up / 86400),
              static_cast<int>(up / 3600 % 24), static_cast<int>(up / 60 % 60), static_cast<int>(up % 60));
}

int show_version(CliCall& call) {
    const char* const product = ov_product_get_sysinfo_product_name();
    call.line("  product    %s", product[0] != '\0' ? product : "-");
    call.line("  version    %s %s", ov_build_product(), ov_build_version());
    call.line("  built      %s from %s, %s, %s", ov_build_time(), ov_build_commit(), ov_build_type(),
              ov_build_compiler());
    print_start(call);
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
int show_memory(CliCall& call) {
    const auto heap = mallinfo2();
    call.line("  heap in use %zu bytes, taken from the system %zu bytes", heap.uordblks + heap.hblkhd,
              heap.arena + heap.hblkhd);
    call.line("  %-40s  %10s  %12s", "counted by type", "pieces", "bytes");
    qmem_walk(print_memory_of, call.vty);
    return 0;
}

int show_help(CliCall& call) {
    static const char* const lines[] = {
        "  Words may be shortened as long as they can be told apart (\"sh ver\").",
        "  ?              in the shell: what can stand here, with a line for each word",
        "  Tab            in the shell: completes a word",
        "  list           the commands of this mode",
        "  find TEXT      the commands of all modes that have it",
        "  exit, end      leave this mode, or all of them",
    };
    for (const char* line : lines)
        call.line("%s", line);
    return 0;
}

const kavo_cmd_t host_cmds[] = {
#include "host_vty.def"
};

} // namespace

void host_vty_init() {
    kavo_cmd_install(host_cmds);
}
