#include "upgrades.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "card_frame.h"
#include "card_objects.h"
#include "ov_hal_gpon_records.h"
#include "text.h"

namespace {

constexpr uint32_t ONUS = 128;
constexpr size_t VERSION_MAX = 14;

enum Action : int32_t { CLEAR = 0, START = 1, ACTIVATE = 2, COMMIT = 3, ABORT = 4 };
enum Switch : uint32_t { AUTO_COMMIT = 2, AUTO_ACTIVATE = 3 };

template <size_t Size>
std::string text_in(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

const char* status_name(int32_t status) {
    constexpr const char* NAMES[] = {"none",       "starting",   "downloading",     "writing",
                                     "downloaded", "committing", "committed",       "commit-failed",
                                     "activating", "activated",  "activate-failed", "download-failed",
                                     "aborted",    "waiting"};
    return NAMES[status];
}

} // namespace

// ---- what it is told --------------------------------------------------------------------------------------

// Calls act for each ONU of the mask that is there.
template <typename Act>
void Upgrades::for_each_onu(std::span<const uint8_t> record, Act act) {
    const uint32_t pon = get_be32(record, 0);
    for (uint32_t n = 1; n <= ONUS; ++n) {
        if ((record[4 + (n - 1) / 8] >> ((n - 1) & 7) & 1) == 0)
            continue;
        const uint32_t index = onu_index(pon, n);
        if (Onu* onu = onus_.at_index(index); onu || upgrades_.contains(index))
            act(index, onu);
    }
}

void Upgrades::command(std::span<const uint8_t> record) {
    ov_gpon_onu_update_attr_t told{};
    std::memcpy(static_cast<void*>(&told), record.data(), sizeof told);
    const Image image = told.updAct == START ? image_of(text_in(told.versionName)) : Image();
    const int32_t action = told.updAct;
    for_each_onu(record, [&](uint32_t index, Onu* onu) {
        if (action == CLEAR || action == ABORT)
            abort(index);
        if (action == CLEAR)
            upgrades_.erase(index);
        if (onu && action == START)
            start(index, *onu, image, false);
        if (onu && action == COMMIT)
            commit(index, *onu);
        if (onu && action == ACTIVATE)
            activate(index, *onu);
    });
    start_waiting(get_be32(record, 0));
}

void Upgrades::command_from_server(std::span<const uint8_t> record) {
    ov_gpon_onu_network_upgrade_attr_t told{};
    std::memcpy(static_cast<void*>(&told), record.data(), sizeof told);
    const Image image{text_in(told.filename), text_in(told.fileVer).substr(0, VERSION_MAX),
                      static_cast<int32_t>(told.filesize)};
    const std::string model = text_in(told.eqptid);
    for_each_onu(record, [&](uint32_t index, Onu* onu) {
        if (told.enable == 0)
            abort(index);
        else if (onu && onu->model.substr(0, sizeof told.eqptid) == model && onu->version != image.version)
            start(index, *onu, image, true);
    });
    start_waiting(get_be32(record, 0));
}

void Upgrades::set_switch(std::span<const uint8_t> record) {
    const uint32_t which = get_be32(record, 0);
    const bool on = get_be32(record, 4) != 0;
    if (which == AUTO_COMMIT)
        auto_commit_ = on;
    if (which == AUTO_ACTIVATE)
        auto_activate_ = on;
}

void Upgrades::restart() {
    upgrades_.clear();
    auto_commit_ = false;
    auto_activate_ = false;
}

// ---- the stages -------------------------------------------------------------------------------------------

Upgrades::Image Upgrades::image_of(const std::string& file) {
    constexpr std::string_view LABEL = "version: ";
    const std::filesystem::path path = std::filesystem::path("/tmp") / std::filesystem::path(file).filename();
    std::error_code error;
    Image image{file, path.stem().string().substr(0, VERSION_MAX), 0};
    const auto size = std::filesystem::file_size(path, error);
    image.size = error ? 0 : static_cast<int32_t>(std::min<uintmax_t>(size, INT32_MAX));
    std::ifstream content(path);
    std::string line;
    if (std::getline(content, line) && line.starts_with(LABEL))
        image.version = line.substr(LABEL.size(), VERSION_MAX);
    return image;
}

// The ONU of an upgrade; null when it is away.
Onu* Upgrades::onu_of(uint32_t index, const Upgrade& upgrade) {
    Onu* onu = onus_.at_index(index);
    return onu && onu->serial == upgrade.serial && onu->state == OnuState::OPERATIONAL ? onu : nullptr;
}

Upgrades::Upgrade& Upgrades::upgrade_of(uint32_t index, const Onu& onu) {
    Upgrade& upgrade = upgrades_[index];
    if (upgrade.serial != onu.serial) {
        const uint32_t step = upgrade.step;
        upgrade = Upgrade();
        upgrade.step = step;
    }
    upgrade.serial = onu.serial;
    return upgrade;
}

void Upgrades::start(uint32_t index, const Onu& onu, const Image& image, bool goes_on) {
    Upgrade& upgrade = upgrade_of(index, onu);
    upgrade.image = image;
    upgrade.goes_on = goes_on;
    upgrade.sent = 0;
    upgrade.status = WAITING;
    ++upgrade.step;
}

// As many as a port takes at a time, those with the lowest numbers first.
void Upgrades::start_waiting(uint32_t pon) {
    uint32_t busy = 0;
    const auto first = upgrades_.lower_bound(onu_index(pon, 1));
    const auto last = upgrades_.upper_bound(onu_index(pon, ONUS));
    for (auto it = first; it != last; ++it)
        busy += it->second.status == DOWNLOADING || it->second.status == WRITING ? 1 : 0;
    for (auto it = first; it != last && busy < delays_.at_once; ++it)
        if (it->second.status == WAITING && begin(it->first, it->second))
            ++busy;
}

// False when it fails at once: the ONU has gone, or there is no such file.
bool Upgrades::begin(uint32_t index, Upgrade& upgrade) {
    Onu* onu = onu_of(index, upgrade);
    if (!onu || upgrade.image.size == 0) {
        upgrade.status = DOWNLOAD_FAILED;
        return false;
    }
    onu->images.begin_load();
    enter(index, upgrade, DOWNLOADING, delays_.download);
    return true;
}

void Upgrades::enter(uint32_t index, Upgrade& upgrade, Status status, std::chrono::milliseconds time) {
    const Onu* onu = onus_.at_index(index);
    upgrade.status = status;
    upgrade.began = Clock::now();
    upgrade.losses = onu ? onu->losses : UINT32_MAX;
    loop_.after(time, [this, alive = std::weak_ptr(alive_), index, step = ++upgrade.step] {
        if (alive.lock())
            through(index, step);
    });
}

void Upgrades::through(uint32_t index, uint32_t step) {
    const auto it = upgrades_.find(index);
    if (it == upgrades_.end() || it->second.step != step)
        return;
    settle(index, it->second);
    if (Onu* onu = onu_of(index, it->second))
        end_stage(index, it->second, *onu);
    else
        lose(it->second);
    start_waiting(pon_of(index));
}

void Upgrades::end_stage(uint32_t index, Upgrade& upgrade, Onu& onu) {
    switch (upgrade.status) {
    case DOWNLOADING:
        upgrade.sent = upgrade.image.size;
        if (fails(upgrade, UpgradeStage::DOWNLOAD))
            upgrade.status = DOWNLOAD_FAILED;
        else
            enter(index, upgrade, WRITING, delays_.write);
        break;
    case WRITING:
        upgrade.status = fails(upgrade, UpgradeStage::WRITE) ? DOWNLOAD_FAILED : DOWNLOADED;
        if (upgrade.status == DOWNLOAD_FAILED)
            break;
        onu.images.loaded(upgrade.image.version);
        if (auto_commit_ || upgrade.goes_on)
            commit(index, onu);
        break;
    case COMMITTING:
        upgrade.status = fails(upgrade, UpgradeStage::COMMIT) ? COMMIT_FAILED : COMMITTED;
        if (upgrade.status == COMMIT_FAILED)
            break;
        onu.images.commit_other();
        if (auto_activate_ || upgrade.goes_on)
            activate(index, onu);
        break;
    default:
        break;
    }
}

void Upgrades::commit(uint32_t index, Onu& onu) {
    Upgrade& upgrade = upgrade_of(index, onu);
    if (onu.images.other_is_valid())
        enter(index, upgrade, COMMITTING, delays_.commit);
    else
        upgrade.status = COMMIT_FAILED;
}

// It starts again, from the other image, and is activated when it is back.
void Upgrades::activate(uint32_t index, Onu& onu) {
    Upgrade& upgrade = upgrade_of(index, onu);
    ++upgrade.step;
    upgrade.status = ACTIVATE_FAILED;
    if (!onu.images.other_is_valid() || fails(upgrade, UpgradeStage::ACTIVATE))
        return;
    upgrade.status = ACTIVATING;
    onu.images.start_other_next();
    onus_.reboot(index);
}

void Upgrades::abort(uint32_t index) {
    const auto it = upgrades_.find(index);
    if (it == upgrades_.end())
        return;
    Upgrade& upgrade = it->second;
    const bool loads =
        upgrade.status == WAITING || upgrade.status == DOWNLOADING || upgrade.status == WRITING;
    if (!loads)
        return;
    upgrade.status = ABORTED;
    ++upgrade.step;
}

// ---- what goes wrong --------------------------------------------------------------------------------------

bool Upgrades::fails(const Upgrade& upgrade, UpgradeStage stage) {
    const auto [first, last] = failing_.equal_range(upgrade.serial);
    const auto it = std::find_if(first, last, [stage](const auto& each) { return each.second == stage; });
    if (it == last)
        return false;
    failing_.erase(it);
    return true;
}

// Of an ONU that goes in the middle.
void Upgrades::lose(Upgrade& upgrade) {
    if (upgrade.status == DOWNLOADING || upgrade.status == WRITING)
        upgrade.status = DOWNLOAD_FAILED;
    if (upgrade.status == COMMITTING)
        upgrade.status = COMMIT_FAILED;
    ++upgrade.step;
}

// Brings an upgrade to the present.
void Upgrades::settle(uint32_t index, Upgrade& upgrade) {
    const Onu* onu = onu_of(index, upgrade);
    if (onu && upgrade.status == ACTIVATING)
        upgrade.status = ACTIVATED;
    const bool is_under_way =
        upgrade.status == DOWNLOADING || upgrade.status == WRITING || upgrade.status == COMMITTING;
    if (is_under_way && onu && onu->losses != upgrade.losses)
        lose(upgrade);
    if (upgrade.status == DOWNLOADING && delays_.download.count() > 0) {
        const auto spent =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - upgrade.began);
        upgrade.sent = static_cast<int32_t>(upgrade.image.size * std::min(spent, delays_.download).count() /
                                            delays_.download.count());
    }
}

// ---- what it tells ----------------------------------------------------------------------------------------

void Upgrades::fill_progress(uint32_t index, std::span<uint8_t> record) {
    const auto it = upgrades_.find(index);
    ov_gpon_onu_update_status_attr_t progress{};
    progress.onuindex = index;
    if (it != upgrades_.end()) {
        settle(index, it->second);
        const Upgrade& upgrade = it->second;
        std::copy_n(upgrade.image.file.begin(), std::min(upgrade.image.file.size(), sizeof progress.verName),
                    progress.verName);
        progress.verSize = upgrade.image.size;
        progress.transmitted = upgrade.sent;
        progress.status = static_cast<int32_t>(upgrade.status);
    }
    std::memcpy(record.data(), &progress, std::min(record.size(), sizeof progress));
}

std::vector<std::string> Upgrades::lines() {
    std::vector<std::string> lines;
    for (auto& [index, upgrade] : upgrades_) {
        settle(index, upgrade);
        lines.push_back(format("serial=%s file=%s version=%s status=%s sent=%d size=%d",
                               onu_serial_text(upgrade.serial).c_str(), upgrade.image.file.c_str(),
                               upgrade.image.version.c_str(), status_name(upgrade.status), upgrade.sent,
                               upgrade.image.size));
    }
    return lines;
}
