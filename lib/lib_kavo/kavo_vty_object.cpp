#include "kavo_vty_object.h"

#include "kavo_frr.h"
#include "kavo_if.h"

int ov_get_ifindex_from_vtysh(const struct vty* vty, ov_ifindex_t* ifindex) {
    if (vty == nullptr || ifindex == nullptr)
        return -1;
    if (vty->node != IF_NODE) {
        *ifindex = static_cast<ov_ifindex_t>(reinterpret_cast<uintptr_t>(vty->index));
        return 0;
    }
    if (vty->index == nullptr)
        return -1;
    *ifindex = static_cast<const uif_t*>(vty->index)->ifindex;
    return 0;
}
