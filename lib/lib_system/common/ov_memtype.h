// libfrr's typed memory for C++ files. Its DEFINE_MGROUP and DEFINE_MTYPE are C only (their initialisers
// name the fields out of order), so these two stand in for them; DECLARE_MGROUP, DECLARE_MTYPE, XCALLOC
// and XFREE work as they are. What is defined here appears in libfrr's memory reports like any other.
// For .cpp files: it brings libfrr's configuration macros along.
//
// At file scope, a group before its types:
//
//   OV_DEFINE_MGROUP(AVLTREE, "AVL trees");
//   OV_DEFINE_MTYPE(AVLTREE, AVLTREE_NODE, "AVL tree node");
#pragma once

#include <frr/config.h>

#include <frr/memory.h>

// Enters a group or a type into libfrr's lists for the life of the object.
class ov_memgroup_registration {
public:
    ov_memgroup_registration(memgroup& group, const char* description);
    ~ov_memgroup_registration();
    ov_memgroup_registration(const ov_memgroup_registration&) = delete;
    ov_memgroup_registration& operator=(const ov_memgroup_registration&) = delete;

private:
    memgroup& group_;
};

class ov_memtype_registration {
public:
    ov_memtype_registration(memgroup& group, memtype& type, const char* description);
    ~ov_memtype_registration();
    ov_memtype_registration(const ov_memtype_registration&) = delete;
    ov_memtype_registration& operator=(const ov_memtype_registration&) = delete;

private:
    memtype& type_;
};

#define OV_DEFINE_MGROUP(mname, description)                                                                 \
    struct memgroup _mg_##mname;                                                                             \
    static const ov_memgroup_registration g_mgroup_registration_##mname(_mg_##mname, description)

#define OV_DEFINE_MTYPE(group, mname, description)                                                           \
    struct memtype MTYPE_##mname[1];                                                                         \
    static const ov_memtype_registration g_mtype_registration_##mname(_mg_##group, MTYPE_##mname[0],         \
                                                                      description)
