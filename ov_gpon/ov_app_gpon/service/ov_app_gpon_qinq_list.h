// The list of QinQ rules, and which rules are in each other's way. For the module's own sources.
//
// g_qinq_attr links all rules, the newest first: that is the order in which a card is told again. What is
// asked of one interface or of one PON port is answered from the rules of that port alone, however many rules
// the chassis has.
#pragma once

#include "ov_app_gpon_qinq.h"

// A place in a doubly linked ring: of a list's head, or of one of its elements.
struct QinqLink {
    QinqLink* prev;
    QinqLink* next;
};
// Puts an element that is in no list in front of all others.
void list_add(QinqLink* entry, QinqLink* head);
// Takes an element out; its links mean nothing then.
void list_del(QinqLink* entry);
bool list_empty(const QinqLink* head);

// An element: a rule with its links. The list owns it.
struct ov_app_gpon_qinq_attr_t : QinqLink {
    ov_gpon_qinq_attr_t attr;
};
extern QinqLink g_qinq_attr;

inline const ov_app_gpon_qinq_attr_t& qinq_element(const QinqLink& link) {
    return static_cast<const ov_app_gpon_qinq_attr_t&>(link);
}

// Copies a rule into a new element. False without memory.
bool ov_app_gpon_qinq_link(const ov_gpon_qinq_attr_t& attr);
// Takes an element out and frees it.
void ov_app_gpon_qinq_unlink(const ov_app_gpon_qinq_attr_t* element);

// Whether a rule is the one that a request means: all of the interface with OV_GPON_ONU_QINQ_OP_PORT_ALL,
// else the one with the same bits and the same values of the criteria that these name.
bool ov_app_gpon_qinq_match_byall(const ov_gpon_qinq_attr_t& entry, const ov_gpon_qinq_attr_t& request);
// Whether it is the rule with the interface and the id of a request.
bool ov_app_gpon_qinq_match_byqinqId(const ov_gpon_qinq_attr_t& entry, const ov_gpon_qinq_attr_t& request);
// Whether a rule is in the way of a new one.
bool ov_app_gpon_qinq_attr_conflict_matchfunc(const ov_gpon_qinq_attr_t& entry,
                                              const ov_gpon_qinq_attr_t& attr);

// The newest rule of the request's interface that matches it; null for none.
using QinqMatch = bool(const ov_gpon_qinq_attr_t& entry, const ov_gpon_qinq_attr_t& request);
const ov_app_gpon_qinq_attr_t* ov_app_gpon_qinq_find(const ov_gpon_qinq_attr_t& request, QinqMatch* match);

// Whether a new rule may stand beside those that there are. 0, or OV_GPON_RET_FAIL behind its reason.
int ov_app_gpon_qinq_check(const ov_gpon_qinq_attr_t& attr);
