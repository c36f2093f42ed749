#include "readings.h"

#include <algorithm>
#include <cstdint>

namespace {

using namespace std::chrono;

// Readings that are the same for every ONU or port but for a little noise.
struct UsualReading {
    uint16_t message;
    const char* field;
    int32_t value;
    int32_t noise; // the value goes up and down by this much
};
constexpr UsualReading READINGS[] = {
    {901, "priStatus", 1, 0},        {903, "oltRxPw", -1950, 20},    {914, "rxPwr", -1800, 20},
    {914, "txPwr", 220, 5},          {914, "omccVer", 0xA0, 0},      {914, "AdminState", 1, 0},
    {914, "OperationalState", 1, 0}, {914, "ProductCode", 1, 0},     {914, "SchedulerNumber", 8, 0},
    {914, "PriorityQueue", 64, 0},   {928, "tcontNum", 8, 0},        {928, "gemucNum", 32, 0},
    {928, "queueNum", 64, 0},        {928, "usQueueNum", 32, 0},     {928, "dsQueueNum", 32, 0},
    {928, "schedulerNum", 8, 0},     {928, "specVersion", 1, 0},     {929, "rxpwr", -1800, 20},
    {929, "txpwr", 220, 5},          {929, "biascurrent", 1250, 10}, {929, "powervol", 3300, 10},
    {929, "temperature", 4500, 30},  {932, "txPwr_low", 150, 0},     {932, "txPwr_high", 500, 0},
    {932, "rxPwr_low", -3000, 0},    {932, "rxPwr_high", -800, 0},   {932, "vcc_low", 3100, 0},
    {932, "vcc_high", 3500, 0},      {932, "bias_curr_low", 500, 0}, {932, "bias_curr_high", 9000, 0},
    {932, "temp_low", -500, 0},      {932, "temp_high", 7500, 0},    {933, "txPwr", 350, 5},
    {933, "rxPwr", -2100, 20},       {933, "vcc", 3300, 10},         {933, "bias", 1500, 10},
    {933, "temp", 4000, 30},         {939, "region1_isvalid", 1, 0}, {939, "region1_isactive", 1, 0},
    {939, "region1_iscommit", 1, 0}, {939, "region2_isvalid", 1, 0},
};

// A new one every tenth of a second.
int32_t noise_of(uint32_t index, int32_t noise) {
    const auto tick = static_cast<uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count() / 100);
    return static_cast<int32_t>(mixed(index, tick) % (static_cast<uint32_t>(noise) * 2 + 1)) - noise;
}

int32_t drifted(const SetReading& reading) {
    const int64_t ms = duration_cast<milliseconds>(steady_clock::now() - reading.since).count();
    return static_cast<int32_t>(
        std::clamp<int64_t>(reading.value + reading.drift * ms / 1000, INT32_MIN, INT32_MAX));
}

} // namespace

uint32_t mixed(uint32_t a, uint32_t b) {
    uint32_t x = a * 2654435761u ^ b * 40503u;
    x ^= x >> 15;
    return x * 2246822519u ^ x >> 13;
}

std::vector<Reading> readings_of(uint16_t message, uint32_t index, const SetReadings& set) {
    std::vector<Reading> readings;
    for (const UsualReading& usual : READINGS) {
        if (usual.message != message)
            continue;
        const auto it = set.find({message, usual.field});
        readings.push_back({usual.field, it != set.end() ? drifted(it->second)
                                                         : usual.value + noise_of(index, usual.noise)});
    }
    return readings;
}
