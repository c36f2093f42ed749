// One engine for the four kinds of QoS profile. A kind is data: how its fields stand in the row and in the
// record of the cards, its messages, its answers and its log lines. What is done with it is here, once.
//
// A kind's public functions are one-line forwards to these (ov_app_gpon_qos_profile.h says what they do).
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

#include "app_set_callback.h"
#include "app_text.h"
#include "ov_app_gpon_qos.h"
#include "ov_hal_qos_msg.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "qos_rows.h"
#include "qos_use.h"

// What an edit of a text answers beside OV_QOS_OK.
struct QosTextErrors {
    int null = OV_QOS_ERR;
    int too_long = OV_QOS_ERR;
};

// A field, or one for each queue or COS, on its three ways.
template <typename Profile, typename Row, typename Record>
struct QosProfileLine {
    void (*to_row)(const Profile&, Row&);
    void (*from_row)(const Row&, Profile&);
    void (*to_card)(const Profile&, Record&) = nullptr; // null: cards don't know it

    template <auto text, auto column>
    static constexpr QosProfileLine text_of() {
        return {[](const Profile& profile, Row& row) { set_text(row.*column, profile.*text); },
                [](const Row& row, Profile& profile) { set_text(profile.*text, row.*column); }};
    }
    // Eight values, and the columns of queue or COS 0 to 7.
    template <auto values, auto wire, auto... columns>
    static constexpr QosProfileLine values_of() {
        static_assert(sizeof...(columns) == OV_QOS_COS_NUM);
        return {[](const Profile& profile, Row& row) {
                    unsigned n = 0;
                    ((row.*columns = static_cast<mib_long>((profile.*values)[n++])), ...);
                },
                [](const Row& row, Profile& profile) {
                    using Value = std::remove_reference_t<decltype((profile.*values)[0])>;
                    unsigned n = 0;
                    (((profile.*values)[n++] = static_cast<Value>(row.*columns)), ...);
                },
                values_to_card<values, wire>};
    }
    template <auto values, auto wire>
    static void values_to_card(const Profile& profile, Record& record) {
        for (unsigned n = 0; n < OV_QOS_COS_NUM; ++n)
            (record.*wire)[n] = static_cast<uint32_t>((profile.*values)[n]);
    }
};

template <typename Profile, typename Row, typename Record>
struct QosProfileKind {
    using Line = QosProfileLine<Profile, Row, Record>;

    const char* what; // in log lines
    qos_profile_kind_e kind;
    QosList<Profile>* list;
    std::span<const Line> lines;
    mib_long Row::*id;
    // What a new one starts with, where that isn't 0.
    void (*start)(Profile&) = nullptr;

    QosTextErrors name_errors = {};
    QosTextErrors desc_errors = {};
    int in_use;
    int not_in_use;
    const char* already_used = nullptr; // debug line in front of an id that is taken; null: none
    uint32_t (Profile::*unlike)[OV_QOS_COS_NUM] = {}; // no two profiles have these values; null: they may
    int duplicate = OV_QOS_ERR;

    ov_hal_qos_msg_type_t add_message;
    ov_hal_qos_msg_type_t del_message;
    int (*send)(ov_hal_qos_msg_type_t, const Record&, uint32_t slot, HalWait);
    bool added_without_card = false; // whatever the cards say to a new one

    int (*check)(MIBDID did, void* row, MIB_Flags_t columns) = nullptr; // of a row's values; null: none
    bool deleted_without_profile = false;                               // a row may go that has none
};

// ---- copies -----------------------------------------------------------------------------------------------

template <typename Profile, typename Row, typename Record>
Row qos_profile_key(const QosProfileKind<Profile, Row, Record>& kind, const Profile& profile) {
    Row row = {};
    row.shelfID = GPON_SHELF;
    row.*kind.id = static_cast<mib_long>(profile.id);
    return row;
}

template <typename Profile, typename Row, typename Record>
Row qos_profile_row(const QosProfileKind<Profile, Row, Record>& kind, const Profile& profile) {
    Row row = qos_profile_key(kind, profile);
    for (const auto& line : kind.lines)
        line.to_row(profile, row);
    return row;
}

template <typename Profile, typename Row, typename Record>
void qos_profile_take_row(const QosProfileKind<Profile, Row, Record>& kind, const Row& row,
                          Profile& profile) {
    profile.id = static_cast<uint32_t>(row.*kind.id);
    for (const auto& line : kind.lines)
        line.from_row(row, profile);
}

// Tells the card in a slot, or all of them (0).
template <typename Profile, typename Row, typename Record>
bool qos_profile_send(const QosProfileKind<Profile, Row, Record>& kind, ov_hal_qos_msg_type_t type,
                      const Profile& profile, uint32_t slot, HalWait wait) {
    Record record = {};
    record.id = profile.id;
    for (const auto& line : kind.lines)
        if (line.to_card)
            line.to_card(profile, record);
    const int result = kind.send(type, record, slot, wait);
    if (result != OV_GPON_RET_OK)
        refuse_for_card(result, type);
    return result == OV_GPON_RET_OK;
}

// ---- life -------------------------------------------------------------------------------------------------

template <typename Profile, typename Row, typename Record>
Profile* qos_profile_new(const QosProfileKind<Profile, Row, Record>& kind) {
    auto* profile = new (std::nothrow) Profile{};
    if (profile != nullptr && kind.start)
        kind.start(*profile);
    return profile;
}

// Whether its values may still change.
template <typename Profile, typename Row, typename Record>
bool qos_profile_is_open(const QosProfileKind<Profile, Row, Record>& kind, const Profile* profile) {
    return profile != nullptr && kind.list->find(profile->id) != profile;
}

template <typename Profile, typename Row, typename Record>
int qos_profile_refuse_taken(const QosProfileKind<Profile, Row, Record>& kind, uint32_t id) {
    ov_refusal_because("%s %u exists already", kind.what, static_cast<unsigned>(id));
    if (kind.already_used != nullptr && g_gpon_qos_debug_flag != 0)
        OV_LOG_DEBUG("QOS", "%s%d", kind.already_used, static_cast<int>(id));
    return kind.in_use;
}

template <typename Profile, typename Row, typename Record>
bool qos_profile_has_twin(const QosProfileKind<Profile, Row, Record>& kind, const Profile& profile) {
    if (kind.unlike == nullptr)
        return false;
    for (const Profile& other : *kind.list)
        if (std::memcmp(profile.*kind.unlike, other.*kind.unlike, sizeof(other.*kind.unlike)) == 0)
            return !ov_refusal_because("%s %u is the same", kind.what, static_cast<unsigned>(other.id));
    return false;
}

template <typename Profile, typename Row, typename Record>
int qos_profile_add(const QosProfileKind<Profile, Row, Record>& kind, Profile* profile, uint32_t flag) {
    if (profile == nullptr)
        return OV_QOS_ERR;
    if (kind.list->find(profile->id) != nullptr)
        return qos_profile_refuse_taken(kind, profile->id);
    const Row* stored = (flag & SYNC_MIB) != 0 ? find_row(qos_profile_key(kind, *profile)) : nullptr;
    if (stored != nullptr)
        qos_profile_take_row(kind, *stored, *profile);
    if (qos_profile_has_twin(kind, *profile))
        return kind.duplicate;
    if ((flag & SYNC_HAL) != 0 && !qos_profile_send(kind, kind.add_message, *profile, 0, HalWait::FOR_CARD) &&
        !kind.added_without_card)
        return OV_QOS_HAL_FAIL;
    if ((flag & SYNC_MIB) != 0 && stored == nullptr) {
        Row row = qos_profile_row(kind, *profile);
        if (!qos_put_row(row))
            return OV_QOS_MIB_FAIL;
    }
    if ((flag & SYNC_APP) != 0)
        kind.list->take(profile->id, profile);
    return OV_QOS_OK;
}

template <typename Profile, typename Row, typename Record>
bool qos_profile_is_bound(const QosProfileKind<Profile, Row, Record>& kind, uint32_t id) {
    const uint32_t bound = qos_profile_use_count(kind.kind, id);
    if (bound == 0)
        return false;
    ov_refusal_because("%u %s %s %u", static_cast<unsigned>(bound),
                       bound == 1 ? "object has" : "objects have", kind.what, static_cast<unsigned>(id));
    OV_LOG_ERROR("QOS", "%s is still used, don't be deleted. id[%d]", kind.what, static_cast<int>(id));
    return true;
}

template <typename Profile, typename Row, typename Record>
int qos_profile_del(const QosProfileKind<Profile, Row, Record>& kind, const Profile* profile, uint32_t flag) {
    if (profile == nullptr || kind.list->find(profile->id) == nullptr)
        return kind.not_in_use;
    if ((flag & SYNC_HAL) != 0) {
        if (qos_profile_is_bound(kind, profile->id))
            return kind.in_use;
        if (!qos_profile_send(kind, kind.del_message, *profile, 0, HalWait::FOR_CARD))
            return OV_QOS_HAL_FAIL;
    }
    if ((flag & SYNC_MIB) != 0) {
        Row key = qos_profile_key(kind, *profile);
        if (!qos_drop_row(key))
            return OV_QOS_MIB_FAIL;
    }
    if ((flag & SYNC_APP) != 0)
        kind.list->drop(profile->id);
    return OV_QOS_OK;
}

// An application's record for each row that has none. Cards aren't told.
template <typename Profile, typename Row, typename Record>
void qos_profile_adopt_rows(const QosProfileKind<Profile, Row, Record>& kind) {
    for (const Row& row : all_rows<Row>()) {
        if (kind.list->find(static_cast<uint32_t>(row.*kind.id)) != nullptr)
            continue;
        Profile* profile = qos_profile_new(kind);
        if (profile == nullptr)
            return;
        qos_profile_take_row(kind, row, *profile);
        kind.list->take(profile->id, profile);
    }
}

template <typename Profile, typename Row, typename Record>
int qos_profile_restore(const QosProfileKind<Profile, Row, Record>& kind, int slot) {
    for (const Profile& profile : *kind.list)
        qos_profile_send(kind, kind.add_message, profile, static_cast<uint32_t>(slot), HalWait::NO);
    return OV_QOS_OK;
}

// ---- the table's callback ---------------------------------------------------------------------------------

template <typename Profile, typename Row, typename Record>
int qos_profile_create(const QosProfileKind<Profile, Row, Record>& kind, const Row& row) {
    std::unique_ptr<Profile> profile(qos_profile_new(kind));
    if (!profile)
        return SET_REFUSED;
    qos_profile_take_row(kind, row, *profile);
    if (qos_profile_add(kind, profile.get(), SYNC_HAL | SYNC_APP) != OV_QOS_OK) {
        OV_LOG_ERROR("QOS", "add %s %d failed", kind.what, static_cast<int>(profile->id));
        return SET_REFUSED;
    }
    static_cast<void>(profile.release());
    return SET_ACCEPTED;
}

// A profile that the cards wouldn't let go is gone here all the same; one that something is bound to stays.
template <typename Profile, typename Row, typename Record>
int qos_profile_remove(const QosProfileKind<Profile, Row, Record>& kind, const Row& row) {
    const auto id = static_cast<uint32_t>(row.*kind.id);
    const Profile* profile = kind.list->find(id);
    if (profile == nullptr) {
        OV_LOG_ERROR("QOS", "No profile %d", static_cast<int>(id));
        return kind.deleted_without_profile ? SET_ACCEPTED : SET_REFUSED;
    }
    const int result = qos_profile_del(kind, profile, SYNC_HAL | SYNC_APP);
    if (result == OV_QOS_OK)
        return SET_ACCEPTED;
    OV_LOG_ERROR("QOS", "del %s %d failed", kind.what, static_cast<int>(id));
    if (result != kind.in_use)
        kind.list->drop(id);
    return SET_REFUSED;
}

template <typename Profile, typename Row, typename Record>
int qos_profile_set_callback(const QosProfileKind<Profile, Row, Record>& kind, MIBDID did, void* pending,
                             const MIB_Flags_t& columns) {
    if (kind.check && kind.check(did, pending, columns) != SET_ACCEPTED)
        return SET_REFUSED;
    const Row& row = *static_cast<const Row*>(pending);
    switch (MibRowStatusGet(did, pending)) {
    case MODE_CRE:
        return qos_profile_create(kind, row);
    case MODE_DEL:
        return qos_profile_remove(kind, row);
    case MODE_CHG:
        ov_refusal_because("a %s can't be changed", kind.what);
        return SET_REFUSED;
    default:
        return SET_ACCEPTED;
    }
}

// Whether a pending row brings values that are to be checked.
constexpr bool qos_gives_values(int mode) {
    return mode == MODE_CRE || mode == MODE_CHG;
}

// Whether a profile's index is one that managers may use.
inline bool qos_profile_index_is(mib_long shelf, mib_long id, mib_long first, mib_long last) {
    if (shelf == GPON_SHELF && id >= first && id <= last)
        return true;
    return ov_refusal_because("profiles are %d to %d of shelf 1", static_cast<int>(first),
                              static_cast<int>(last));
}

// ---- values of a profile that is still its maker's --------------------------------------------------------

template <size_t N>
int qos_edit_text(char (&field)[N], const char* text, const QosTextErrors& errors) {
    if (text == nullptr)
        return errors.null;
    if (strnlen(text, N) >= N)
        return errors.too_long;
    set_text(field, text);
    return OV_QOS_OK;
}

// The same of numbers, one for each queue or COS from 0 on.
struct QosValuesErrors {
    int null = OV_QOS_ERR;
    int number = OV_QOS_ERR; // of them
    int value = OV_QOS_ERR;  // above the greatest
};

inline int qos_edit_values(uint32_t (&field)[OV_QOS_COS_NUM], const uint32_t* values, unsigned num,
                           uint32_t greatest, const QosValuesErrors& errors) {
    if (values == nullptr)
        return errors.null;
    if (num > OV_QOS_COS_NUM)
        return errors.number;
    for (unsigned n = 0; n < num; ++n)
        if (values[n] > greatest)
            return errors.value;
    std::copy_n(values, num, field);
    return OV_QOS_OK;
}

inline uint32_t qos_value_at(const uint32_t (&field)[OV_QOS_COS_NUM], unsigned n, uint32_t without) {
    return n < OV_QOS_COS_NUM ? field[n] : without;
}

// ---- doors ------------------------------------------------------------------------------------------------

// The public functions that all kinds have, as forwards to the functions above with the KIND of the place
// where this stands:
//
//     QOS_PROFILE_DOORS(ov_app_cosq_map_profile,              new, destroy, edit_name ... of the profile
//                       ov_app_cosq_mapping_profile,          add, del
//                       ov_app_find_cosq_map_profile_by_id,
//                       ov_app_cosq_mapping_profile_restore_config)
#define QOS_PROFILE_DOORS(profile_word, copies_word, look_up, restore)                                       \
    Profile* profile_word##_new() {                                                                          \
        return qos_profile_new(KIND);                                                                        \
    }                                                                                                        \
    void profile_word##_destroy(Profile* profile) {                                                          \
        delete profile;                                                                                      \
    }                                                                                                        \
    int profile_word##_edit_name(Profile* profile, const char* name) {                                       \
        return qos_profile_is_open(KIND, profile) ? qos_edit_text(profile->name, name, KIND.name_errors)     \
                                                  : OV_QOS_ERR;                                              \
    }                                                                                                        \
    int profile_word##_edit_desc(Profile* profile, const char* desc) {                                       \
        return qos_profile_is_open(KIND, profile) ? qos_edit_text(profile->desc, desc, KIND.desc_errors)     \
                                                  : OV_QOS_ERR;                                              \
    }                                                                                                        \
    uint32_t profile_word##_get_id(const Profile* profile) {                                                 \
        return profile != nullptr ? profile->id : OV_QOS_DEFAULT_INDEX_ID;                                   \
    }                                                                                                        \
    const char* profile_word##_get_name(const Profile* profile) {                                            \
        return profile != nullptr ? profile->name : "";                                                      \
    }                                                                                                        \
    const char* profile_word##_get_desc(const Profile* profile) {                                            \
        return profile != nullptr ? profile->desc : "";                                                      \
    }                                                                                                        \
    int copies_word##_add(Profile* profile, uint32_t flag) {                                                 \
        return qos_profile_add(KIND, profile, flag);                                                         \
    }                                                                                                        \
    int copies_word##_del(Profile* profile, uint32_t flag) {                                                 \
        return qos_profile_del(KIND, profile, flag);                                                         \
    }                                                                                                        \
    Profile* look_up(uint32_t id) {                                                                          \
        return KIND.list->find(id);                                                                          \
    }                                                                                                        \
    int restore(int slot) {                                                                                  \
        return qos_profile_restore(KIND, slot);                                                              \
    }
