#include "ov_memtype.h"

// Where libfrr's list of groups goes on.
extern "C" {
extern struct memgroup** mg_insert;
}

ov_memgroup_registration::ov_memgroup_registration(memgroup& group, const char* description) : group_(group) {
    group.name = description;
    group.ref = mg_insert;
    *mg_insert = &group;
    mg_insert = &group.next;
}

ov_memgroup_registration::~ov_memgroup_registration() {
    if (group_.next != nullptr)
        group_.next->ref = group_.ref;
    else
        mg_insert = group_.ref;
    *group_.ref = group_.next;
}

ov_memtype_registration::ov_memtype_registration(memgroup& group, memtype& type, const char* description)
    : type_(type) {
    if (group.insert == nullptr)
        group.insert = &group.types;
    type.name = description;
    type.ref = group.insert;
    *group.insert = &type;
    group.insert = &type.next;
}

ov_memtype_registration::~ov_memtype_registration() {
    if (type_.next != nullptr)
        type_.next->ref = type_.ref;
    *type_.ref = type_.next;
}
