#include "ov_result_word.h"

#include <algorithm>
#include <iterator>

#include "ov_types.h"

namespace {

struct Word {
    int64_t result;
    const char* name;
};

#define WORD(name)                                                                                           \
    { name, #name }
constexpr Word WORDS[] = {
    WORD(OV_GPON_RET_FAIL),
    WORD(OV_GPON_RET_NOT_FOUND),
    WORD(OV_GPON_RET_EXISTED),
    WORD(OV_GPON_RET_BAD_PARAM),
    WORD(OV_GPON_RET_NO_MEM),
    WORD(OV_GPON_RET_NO_RESOURCE),
    WORD(OV_GPON_RET_BUSY),
    WORD(OV_GPON_RET_NOT_COMPLETE),
    WORD(OV_GPON_RET_NOT_SUPPORT),
    WORD(OV_GPON_RET_DRV_ERR),
    WORD(OV_ONU_AUTH_ILLEGAL),
    WORD(KAVO_ERR),
    WORD(KAVO_MEMORY),
    WORD(KAVO_PARAM),
    WORD(KAVO_EMPTY),
    WORD(ERR_MOD_PLAT_CLI),
    WORD(KAVO_CLI_BAD_INPUT),
    WORD(KAVO_CLI_FAILED),
};
#undef WORD

} // namespace

std::string ov_result_text(int64_t result) {
    const auto* found = std::find_if(std::begin(WORDS), std::end(WORDS),
                                     [result](const Word& word) { return word.result == result; });
    return std::to_string(result) + (found != std::end(WORDS) ? std::string(" ") + found->name : "");
}
