#include "ov_product_log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <string_view>

#include "libovra.h"
#include "ov_error_ring.h"
#include "ov_refusal.h"

namespace {

constexpr size_t LINE_SIZE = 10000;     // bytes of a formatted line with its terminator; longer ones are cut
constexpr size_t SHORT_LINE_SIZE = 512; // a line that fits into this allocates no memory

constexpr std::array<const char*, 8> LIBRARY_LOGS = {"lib",    "halmsg", "ipcmsg",    "pondrv",
                                                     "reboot", "snmpd",  "clientcmd", "cmdhistory"};

using Tap = void (*)(int level, const char* module, const char* text);
std::atomic<Tap> g_tap{nullptr};

struct Origin {
    const char* file;
    const char* func;
    int line;
};

// The handle of a library log, or null, the application's own, for a name that isn't one. The
// platform's log opens the file behind a handle when the first line comes.
const char* library_handle(const char* name) {
    if (name == nullptr)
        return nullptr;
    const auto* found = std::find_if(LIBRARY_LOGS.begin(), LIBRARY_LOGS.end(),
                                     [name](const char* known) { return std::string_view(known) == name; });
    return found != LIBRARY_LOGS.end() ? *found : nullptr;
}

void write_text(const char* lib, const Origin& origin, int level, const char* module, const char* text,
                Tap tap) {
    if (tap != nullptr)
        tap(level, module, text);
    if (level >= OV_LOG_LVL_ERROR) {
        ov_error_ring_add(level, module, text);
        ov_refusal_note_error(text);
    }
    if (level >= OV_LOG_LVL_NOTICE && OvRefusal::current() != nullptr)
        OvRefusal::keep_line(level, module, text);
    ov_log_util(lib, level, module, origin.file, origin.line, origin.func, text);
}

// A long line lives on the heap: threads may run on stacks of 16000 bytes.
__attribute__((format(printf, 5, 0))) void write_line(const char* lib, const Origin& origin, int level,
                                                      const char* module, const char* fmt, va_list args,
                                                      Tap tap = nullptr) {
    if (fmt == nullptr)
        return;
    std::array<char, SHORT_LINE_SIZE> line;
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(line.data(), line.size(), fmt, args);
    if (length >= 0 && static_cast<size_t>(length) < line.size()) {
        write_text(lib, origin, level, module, line.data(), tap);
    } else if (length >= 0) {
        const std::unique_ptr<char[]> text(new (std::nothrow) char[LINE_SIZE]);
        if (text && vsnprintf(text.get(), LINE_SIZE, fmt, again) >= 0)
            write_text(lib, origin, level, module, text.get(), tap);
    }
    va_end(again);
}

} // namespace

void ov_product_app_log(const char* file_name, int /*file_len*/, const char* func_name, int /*func_len*/,
                        int line, int level, const char* module, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    write_line(nullptr, {file_name, func_name, line}, level, module, fmt, args, g_tap.load());
    va_end(args);
}

void ov_product_library_log(int flag, const char* lib, const char* file_name, int /*file_len*/,
                            const char* func_name, int /*func_len*/, int line, int level, const char* module,
                            const char* fmt, ...) {
    if (flag == 0)
        return;
    va_list args;
    va_start(args, fmt);
    write_line(library_handle(lib), {file_name, func_name, line}, level, module, fmt, args);
    va_end(args);
}

// The special logs differ in handle, tag and level only.
#define SPECIAL_LOG(name, lib, level, module)                                                                \
    void name(const char* fmt, ...) {                                                                        \
        va_list args;                                                                                        \
        va_start(args, fmt);                                                                                 \
        write_line(lib, {nullptr, nullptr, 0}, level, module, fmt, args);                                    \
        va_end(args);                                                                                        \
    }

SPECIAL_LOG(ov_product_app_cmd_log, "cmdhistory", OV_LOG_LVL_INFO, "CMD")
SPECIAL_LOG(ov_product_usr_cmd_log, "clientcmd", OV_LOG_LVL_INFO, "CMD")
SPECIAL_LOG(ov_product_snmp_cfg_log, "snmpd", OV_LOG_LVL_INFO, "SNMP")
SPECIAL_LOG(ov_product_sys_log, nullptr, OV_LOG_LVL_NOTICE, "SYS")
SPECIAL_LOG(ov_product_reboot_log, "reboot", OV_LOG_LVL_NOTICE, "REBOOT")

void ov_product_log_set_tap(Tap tap) {
    g_tap.store(tap);
}
