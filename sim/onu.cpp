#include "onu.h"

#include <algorithm>
#include <cstring>
#include <string.h>

#include "card_frame.h"
#include "text.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t WN_TRAP = 923;
constexpr uint16_t ONUSTATES_TRAP = 927;

constexpr uint8_t STATE_ADDED = 1;
constexpr uint8_t STATE_AUTHPASS = 2;
constexpr uint8_t STATE_OPERATIONAL = 3;

constexpr uint32_t ALARM_ONU_OFF = 201;
constexpr uint32_t ALARM_DYING_GASP = 209;
constexpr uint32_t ALARM_RAISED = 1;
constexpr uint32_t ALARM_CLEARED = 2;
constexpr uint32_t SOURCE_ONU = 6;

constexpr uint32_t ONUS_PER_PON = 128;
constexpr int STEPS_AT_ONCE = 32;

template <size_t Size>
void put_text(char (&field)[Size], std::string_view text) {
    std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

template <size_t Size>
bool same_text(const char (&field)[Size], const std::string& text) {
    return std::string_view(field, strnlen(field, Size)) == text;
}

template <typename Record>
std::span<const uint8_t> bytes_of(const Record& record) {
    return {reinterpret_cast<const uint8_t*>(&record), sizeof record};
}

template <typename Record>
Record read_record(const CardObjects::Bytes& bytes) {
    Record record{};
    std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
}

bool proves_identity(const Onu& onu, const ov_gpon_onu_auth_attr_t& auth) {
    const bool serial = std::memcmp(auth.sn, onu.serial.data(), onu.serial.size()) == 0;
    const bool password = same_text(auth.pw, onu.password);
    const bool loid = same_text(auth.loid, onu.loid);
    switch (static_cast<ov_gpon_onu_auth_mode_t>(static_cast<int32_t>(auth.mode))) {
    case OV_GPON_ONU_AUTH_MODE_SN:
        return serial;
    case OV_GPON_ONU_AUTH_MODE_PW:
        return password;
    case OV_GPON_ONU_AUTH_MODE_SNPW:
        return serial && password;
    case OV_GPON_ONU_AUTH_MODE_LOID:
        return loid;
    case OV_GPON_ONU_AUTH_MODE_LOIDPW:
        return loid && same_text(auth.loidPw, onu.loid_password);
    default:
        return false;
    }
}

bool is_up(const Onu& onu) {
    return onu.state == OnuState::AUTHPASS || onu.state == OnuState::OPERATIONAL;
}

} // namespace

std::optional<OnuSerial> parse_onu_serial(std::string_view text) {
    OnuSerial serial{};
    const bool with_vendor = text.size() == 12;
    const auto digits = parse_hex(with_vendor ? text.substr(4) : text);
    if ((!with_vendor && text.size() != 16) || !digits)
        return {};
    if (with_vendor)
        std::copy(text.begin(), text.begin() + 4, serial.begin());
    std::copy(digits->begin(), digits->end(), serial.end() - static_cast<ptrdiff_t>(digits->size()));
    return serial;
}

std::string onu_serial_text(const OnuSerial& serial) {
    const bool readable =
        std::all_of(serial.begin(), serial.begin() + 4, [](uint8_t c) { return c > ' ' && c < 127; });
    const std::string vendor(serial.begin(), serial.begin() + 4);
    return readable ? vendor + to_hex(std::span(serial).subspan(4)) : to_hex(serial);
}

OnuSerial next_onu_serial(const OnuSerial& serial, uint32_t add) {
    OnuSerial next = serial;
    put_be32(next, 4, get_be32(serial, 4) + add);
    return next;
}

const char* onu_state_name(OnuState state) {
    static constexpr const char* NAMES[] = {"off",      "lost",     "ranging",    "unconfigured",
                                            "learning", "authpass", "operational"};
    return NAMES[static_cast<size_t>(state)];
}

void Onus::set_delays(std::chrono::milliseconds range, std::chrono::milliseconds up,
                      std::chrono::milliseconds reboot, std::chrono::milliseconds again) {
    range_delay_ = range;
    up_delay_ = up;
    reboot_delay_ = reboot;
    learn_again_delay_ = again;
}

bool Onus::add(Onu onu) {
    return onus_.try_emplace(Key(onu.pon, onu.serial), onu).second;
}

bool Onus::remove(const OnuSerial& serial) {
    Onu* onu = find(serial);
    if (!onu)
        return false;
    power_off(*onu, false);
    onus_.erase(Key(onu->pon, serial));
    return true;
}

Onu* Onus::find(const OnuSerial& serial) {
    const auto it = std::find_if(onus_.begin(), onus_.end(),
                                 [&](const auto& entry) { return entry.first.second == serial; });
    return it == onus_.end() ? nullptr : &it->second;
}

Onu* Onus::find(uint32_t pon, const OnuSerial& serial) {
    const auto it = onus_.find(Key(pon, serial));
    return it == onus_.end() ? nullptr : &it->second;
}

Onu* Onus::at_index(uint32_t index) {
    const auto it = by_index_.find(index);
    return it == by_index_.end() ? nullptr : &onus_.at(it->second);
}

const Onu* Onus::at_index(uint32_t index) const {
    const auto it = by_index_.find(index);
    return it == by_index_.end() ? nullptr : &onus_.at(it->second);
}

std::vector<const Onu*> Onus::all() const {
    std::vector<const Onu*> list;
    for (const auto& [key, onu] : onus_)
        list.push_back(&onu);
    return list;
}

std::pair<std::map<Onus::Key, Onu>::iterator, std::map<Onus::Key, Onu>::iterator>
Onus::on_port(uint32_t pon) {
    return {onus_.lower_bound(Key(pon, OnuSerial{})), onus_.lower_bound(Key(pon + 1, OnuSerial{}))};
}

// ---- what happens to an ONU ------------------------------------------------------------------------------

void Onus::power_on(Onu& onu) {
    if (onu.state != OnuState::OFF)
        return;
    onu.images.start(onu.version);
    start_ranging(onu);
}

void Onus::power_off(Onu& onu, bool gasp) {
    if (onu.state != OnuState::OFF)
        go_down(onu, OnuState::OFF, gasp ? ALARM_DYING_GASP : ALARM_ONU_OFF);
}

void Onus::lose(Onu& onu) {
    if (onu.state != OnuState::OFF && onu.state != OnuState::LOST)
        go_down(onu, OnuState::LOST, ALARM_ONU_OFF);
}

void Onus::recover(Onu& onu) {
    if (onu.state == OnuState::LOST)
        start_ranging(onu);
}

void Onus::start_ranging(Onu& onu) {
    onu.state = OnuState::RANGING;
    onu.home.lose_live_state();
    after(onu, range_delay_);
}

void Onus::ranged(Onu& onu) {
    if (disabled_.contains(onu.pon) || dark_.contains(onu.pon)) {
        onu.state = OnuState::LOST;
        return;
    }
    const uint32_t index = find_index(onu);
    if (!index)
        unknown(onu);
    else if (disabled_.contains(index))
        onu.state = OnuState::LOST;
    else
        authenticated(onu, index);
}

void Onus::authenticated(Onu& onu, uint32_t index) {
    std::erase_if(promised_, [&](const auto& entry) { return entry.second == Key(onu.pon, onu.serial); });
    onu.index = index;
    by_index_[index] = Key(onu.pon, onu.serial);
    onu.state = OnuState::AUTHPASS;
    report_state(onu, STATE_AUTHPASS);
    after(onu, up_delay_);
}

void Onus::operational(Onu& onu) {
    onu.state = OnuState::OPERATIONAL;
    report_state(onu, STATE_OPERATIONAL);
    report_alarm(onu, ALARM_ONU_OFF, ALARM_CLEARED);
    report_alarm(onu, ALARM_DYING_GASP, ALARM_CLEARED);
}

void Onus::go_down(Onu& onu, OnuState state, uint32_t alarm) {
    const bool was_up = is_up(onu);
    leave_unconfigured(onu);
    onu.state = state;
    onu.home.lose_live_state();
    ++onu.losses;
    ++onu.step;
    if (was_up) {
        report_alarm(onu, alarm, ALARM_RAISED);
        report_state(onu, STATE_ADDED);
    }
    by_index_.erase(onu.index);
    onu.index = 0;
}

// ---- what happens to a port ------------------------------------------------------------------------------

void Onus::lose_port(uint32_t pon) {
    dark_.insert(pon);
    const auto [first, last] = on_port(pon);
    for (auto it = first; it != last; ++it)
        lose(it->second);
}

void Onus::recover_port(uint32_t pon) {
    dark_.erase(pon);
    const auto [first, last] = on_port(pon);
    for (auto it = first; it != last; ++it)
        recover(it->second);
}

// Without an alarm: it doesn't fail, another port carries it.
void Onus::leave_port(Onu& onu) {
    leave_unconfigured(onu);
    if (is_up(onu))
        report_state(onu, STATE_ADDED);
    by_index_.erase(onu.index);
    onu.index = 0;
    ++onu.step;
}

void Onus::move_port(uint32_t from, uint32_t to) {
    const auto [first, last] = on_port(from);
    std::vector<Onu> moving;
    for (auto it = first; it != last; ++it) {
        leave_port(it->second);
        moving.push_back(it->second);
    }
    onus_.erase(first, last);
    for (Onu& onu : moving) {
        onu.pon = to;
        Onu& moved = onus_.insert_or_assign(Key(to, onu.serial), onu).first->second;
        if (moved.state != OnuState::OFF)
            start_ranging(moved);
    }
}

// ---- what the card is told -------------------------------------------------------------------------------

bool Onus::told(uint32_t index) {
    bool news = false;
    const auto [first, last] = on_port(pon_of(index));
    for (auto it = first; it != last; ++it) {
        Onu& onu = it->second;
        if (onu.index == index && is_up(onu) && !is_for(onu, index)) {
            go_down(onu, OnuState::LOST, ALARM_ONU_OFF); // its credentials have changed
            start_ranging(onu);
            news = true;
        }
        const bool waits = onu.state == OnuState::UNCONFIGURED || onu.state == OnuState::LEARNING;
        if (waits && is_for(onu, index)) {
            leave_unconfigured(onu);
            authenticated(onu, index);
            news = true;
        }
    }
    return news;
}

void Onus::report_again(uint32_t index) const {
    if (const Onu* onu = at_index(index)) {
        report_state(*onu, onu->state == OnuState::OPERATIONAL ? STATE_OPERATIONAL : STATE_AUTHPASS);
        return;
    }
    const auto* object = objects_.find(ONU, index);
    if (!object)
        return;
    Onu absent;
    absent.index = index;
    const auto record = read_record<ov_gpon_onu_attr_t>(*object);
    std::memcpy(absent.serial.data(), record.authAttr.sn, absent.serial.size());
    report_state(absent, STATE_ADDED);
}

void Onus::forgotten(uint32_t index) {
    disabled_.erase(index);
    const auto it = by_index_.find(index);
    if (it == by_index_.end())
        return;
    Onu& onu = onus_.at(it->second);
    by_index_.erase(it);
    onu.index = 0;
    start_ranging(onu);
}

void Onus::set_enabled(uint32_t index, bool enabled) {
    const bool changed = enabled ? disabled_.erase(index) != 0 : disabled_.insert(index).second;
    if (!changed)
        return;
    const auto [first, last] = on_port(pon_of(index));
    for (auto it = first; it != last; ++it) {
        Onu& onu = it->second;
        const bool meant = kind_of(index) == index_kind::PON || onu.index == index || is_for(onu, index);
        if (meant && enabled)
            recover(onu);
        else if (meant)
            lose(onu);
    }
}

void Onus::reboot(uint32_t index) {
    Onu* onu = at_index(index);
    if (!onu)
        return;
    ++onu->reboots;
    for (auto& [position, uni] : onu->unis)
        uni.clear_counts();
    lose(*onu);
    onu->images.start(onu->version);
    after(*onu, reboot_delay_);
}

void Onus::synchronise_mib(uint32_t index) {
    if (Onu* onu = at_index(index))
        ++onu->mib_syncs;
}

void Onus::restore_default(uint32_t index) {
    Onu* onu = at_index(index);
    if (!onu)
        return;
    ++onu->restores;
    reboot(index);
}

void Onus::card_restarted() {
    by_index_.clear();
    promised_.clear();
    disabled_.clear();
    told_later_.clear();
    for (auto& [key, onu] : onus_) {
        onu.index = 0;
        if (onu.state != OnuState::OFF && onu.state != OnuState::LOST)
            start_ranging(onu);
    }
}

void Onus::replay() {
    for (const auto& [key, object] : objects_.table(ONU))
        report_again(get_be32(object, 0));
    for (auto& [key, onu] : onus_)
        report_waiting(onu);
}

// ---- looking things up -----------------------------------------------------------------------------------

bool Onus::is_for(const Onu& onu, uint32_t index) const {
    const auto* object = objects_.find(ONU, index);
    return object && proves_identity(onu, read_record<ov_gpon_onu_attr_t>(*object).authAttr);
}

// 0 when the card wasn't told of it.
uint32_t Onus::find_index(const Onu& onu) const {
    for (uint32_t number = 1; number <= ONUS_PER_PON; ++number) {
        if (is_for(onu, onu_index(onu.pon, number)))
            return onu_index(onu.pon, number);
    }
    return 0;
}

// ---- events ----------------------------------------------------------------------------------------------

void Onus::report_state(const Onu& onu, uint8_t state) const {
    ov_gpon_trap_onu_state_attr_t record{};
    record.onuIfindex = onu.index;
    record.states = state;
    if (state == STATE_OPERATIONAL)
        std::memcpy(record.onuVersion, onu.version.data(),
                    std::min(onu.version.size(), sizeof record.onuVersion - 1));
    std::memcpy(record.sn, onu.serial.data(), onu.serial.size());
    std::memcpy(record.pw, onu.password.data(), std::min(onu.password.size(), sizeof record.pw - 1));
    report_(ONUSTATES_TRAP, card_action::SET, bytes_of(record));
}

void Onus::report_alarm(const Onu& onu, uint32_t code, uint32_t state) const {
    ov_gpon_wanning_trap_t record{};
    record.AlarmTableAlarmSource = onu.index;
    record.AlarmTableAlarmCode = static_cast<int32_t>(code);
    record.AlarmTableAlarmSourceType = SOURCE_ONU;
    put_text(record.AlarmTableSystemType, "GPON");
    record.AlarmTableAlarmSeverity = 2;
    record.AlarmTableAlarmType = 1;
    put_text(record.AlarmTableAlarmProbableCause, code == ALARM_DYING_GASP ? "dying gasp" : "onu off");
    record.AlarmTableAlarmState = static_cast<int32_t>(state);
    report_(WN_TRAP, card_action::SET, bytes_of(record));
}

// ---- time ------------------------------------------------------------------------------------------------

void Onus::after(Onu& onu, std::chrono::milliseconds delay) {
    due_.emplace(Clock::now() + delay, std::pair(Key(onu.pon, onu.serial), ++onu.step));
    arm();
}

void Onus::arm() {
    loop_.cancel(timer_);
    timer_ = 0;
    if (due_.empty())
        return;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now());
    timer_ = loop_.after(std::max(left, std::chrono::milliseconds(0)), [this] { run_due(); });
}

void Onus::run_due() {
    const auto now = Clock::now();
    // A card ranges its ONUs one by one and answers in between.
    for (int left = STEPS_AT_ONCE; left > 0 && !due_.empty() && due_.begin()->first <= now; --left) {
        const auto [key, step] = due_.begin()->second;
        due_.erase(due_.begin());
        const auto it = onus_.find(key);
        if (it == onus_.end() || it->second.step != step)
            continue;
        if (it->second.state == OnuState::RANGING)
            ranged(it->second);
        else if (it->second.state == OnuState::AUTHPASS)
            operational(it->second);
        else if (it->second.state == OnuState::LOST) // it has started again
            recover(it->second);
        else if (it->second.state == OnuState::LEARNING)
            wait_anew(it->second); // nobody has provisioned it
    }
    arm();
}
