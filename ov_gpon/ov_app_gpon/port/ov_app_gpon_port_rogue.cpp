// The stages of the search for a rogue ONU, as they are shown.
#include <array>

#include "ov_app_gpon_port.h"

namespace {

struct RogueStage {
    const char* label;
    const char* text; // null: the stage prints no line
};
constexpr std::array ROGUE_STAGES = {
    RogueStage{" STAGE1 ", "Rogue onu detect start"},
    RogueStage{" STAGE2 ", "Rogue onu detecting"},
    RogueStage{" STAGE3 ", "Rogue onu detecting"},
    RogueStage{" STAGE4 ", "Rogue onu detect complete"},
    RogueStage{" STAGE5 ", "Have unconfig rogue onu"},
    RogueStage{" STAGE6 ", nullptr},
    RogueStage{" STAGE7 ", "Stop rogue onu detect rudely"},
    RogueStage{" STAGE8 ", nullptr},
    RogueStage{" STAGE9 ", nullptr},
};
static_assert(ROGUE_STAGES.size() == SPONTABLEROGUEONUDETECTSTATE_STAGE9 + 1);

RogueStage rogue_stage(int32_t stage) {
    if (stage < 0 || static_cast<size_t>(stage) >= ROGUE_STAGES.size())
        return {"UNKNOWN ERROR", nullptr};
    return ROGUE_STAGES[static_cast<size_t>(stage)];
}

} // namespace

const char* ov_app_gpon_rogue_stage_label(int32_t stage) {
    return rogue_stage(stage).label;
}

const char* ov_app_gpon_rogue_stage_text(int32_t stage) {
    return rogue_stage(stage).text;
}
