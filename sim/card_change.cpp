#include "card_change.h"

#include <cstring>

#include "card_qos.h"
#include "qinq_rules.h"
#include "told.h"
#include "uni.h"

namespace {

// A UNI that is set for the first time has else what it was made with.
void make_uni(CardObjects& objects, const CardRequest& request) {
    CardObjects::Bytes uni(request.record.size());
    for (const CardPart& part : request.message->key)
        std::memcpy(uni.data() + part.offset, request.record.data() + part.offset, part.size);
    put_uni_factory_settings(uni);
    objects.put(*request.message, uni);
}

// Mode and limit of a service's MAC filter are told by themselves and are one object; the rules are objects
// of their own.
bool is_filter_itself(const CardRequest& request) {
    return request.message->number == OV_HAL_MSG_GPON_RM_MAC_FLT &&
           record_of<ov_gpon_rm_macfilter_attr_t>(request.record).entryId == 0;
}

// What is deleted is the limit; the mode goes with the service.
void forget_limit(CardObjects& objects, const CardRequest& request) {
    const auto* held = objects.find(*request.message, request.record);
    if (!held)
        return;
    CardObjects::Bytes filter = *held;
    filter[offsetof(ov_gpon_rm_macfilter_attr_t, dyn_count)] = 0;
    objects.put(*request.message, filter);
}

// The switch of a module's alarms is set with the action word that deletes elsewhere, and a QinQ rule is
// deleted by its mask.
bool deletes(const CardRequest& request) {
    if (is_qinq_delete(request))
        return true;
    return request.action == card_action::DELETE &&
           request.message->number != OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD;
}

} // namespace

bool change_objects(CardObjects& objects, const CardRequest& request) {
    const CardMessage& message = *request.message;
    const bool held_before = objects.find(message, request.record) != nullptr;
    const bool is_filter = is_filter_itself(request);
    if (deletes(request)) {
        if (is_filter)
            forget_limit(objects, request);
        else
            objects.remove(message, request.record);
    } else if (is_port_qos(message)) {
        change_port_qos(objects, request);
    } else if (request.action == card_action::CREATE && !is_filter) {
        objects.put(message, request.record);
    } else {
        if (message.number == OV_HAL_MSG_GPON_RM_UNI && !held_before)
            make_uni(objects, request);
        objects.set(message, request.mask, request.record);
    }
    return held_before;
}
