#include "ov_app_gpon_port_config_copy.h"

#include "ov_product_log.h"
#include "ov_refusal.h"

bool PortConfigCopy::step() {
    if (copy_ == copies_.size())
        return false;
    if (!collected_) {
        table().collect(from_, rows_);
        collected_ = true;
    } else if (row_ < rows_.size()) {
        write_next();
    } else {
        end_table();
    }
    return true;
}

void PortConfigCopy::write_next() {
    const OvRefusal door("copy", OvRefusal::Kind::EVENT); // each refusal leaves its line
    const PortCopyWrite& write = table().writes[write_];
    const bool is_there = table().refresh(rows_[row_]);
    const void* row = rows_[row_].data();
    const bool given = is_there && write.give(row, to_);
    if (is_there && !given)
        copies_[copy_]->log_failure(from_, to_, table().place(row), write.verb);
    if (given && ++write_ < table().writes.size())
        return;
    ++row_;
    write_ = 0;
}

void PortConfigCopy::end_table() {
    rows_.clear();
    row_ = 0;
    collected_ = false;
    if (++table_ < copies_[copy_]->tables.size())
        return;
    table_ = 0;
    ++copy_;
}

void PortCopy::operator()(ov_ifindex_t from, ov_ifindex_t to) const {
    const PortCopy* const only[] = {this};
    PortConfigCopy copy(from, to, only);
    while (copy.step()) {
    }
}

void PortCopy::log_failure(ov_ifindex_t from, ov_ifindex_t to, const std::string& place,
                           const char* verb) const {
    OV_LOG_ERROR("MMG", "%s from 0x%x to 0x%x failed, %s%s", name, from, to, place.c_str(), verb);
}
