#include "ov_hal_gpon_msg.h"

// TODO: the dispatch of events from the cards to the application modules.

unsigned ov_hal_gpon_msg_recv(unsigned /*type*/, void* /*buf*/, unsigned /*len*/) {
    return 0;
}
