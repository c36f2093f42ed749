#include "mmg_refusal.h"

#include <array>
#include <cstdio>

#include "mmg_access_internal.h"

namespace {

mib_row_namer g_row_namer = nullptr;

thread_local int t_depth = 0; // accesses under way

} // namespace

void MibSetRowNamer(mib_row_namer namer) {
    g_row_namer = namer;
}

void mib_refused_at(int index, const void* row) {
    if (!ov_refusal_wants_row())
        return;
    std::array<char, 160> text = {};
    if (g_row_namer != nullptr)
        g_row_namer(index, row, text.data(), text.size());
    if (text[0] == '\0')
        snprintf(text.data(), text.size(), "%s", mmg_table_name_getbyindex(index));
    ov_refusal_at(index, text.data());
}

MibRefusalWatch::MibRefusalWatch(int index, const void* row, bool is_write)
    : index_(index), row_(row), is_write_(is_write), before_(ov_refusal_mark()) {
    ++t_depth;
}

MibRefusalWatch::~MibRefusalWatch() {
    --t_depth;
}

char MibRefusalWatch::end(char result) {
    OvRefusal* door = OvRefusal::current();
    if (door == nullptr)
        return result;
    if (result == MIB_OK) {
        ov_refusal_forget(before_);
    } else if (is_write_) {
        mib_refused_at(index_, row_);
        if (t_depth == 1 && door->kind() == OvRefusal::Kind::EVENT) {
            door->refuse(nullptr, nullptr);
            ov_refusal_forget(before_);
        }
    }
    return result;
}
