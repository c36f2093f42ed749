// The pools of application ids and table mutexes.
#include <algorithm>
#include <bitset>
#include <iterator>
#include <mutex>

#include "mmg_access_internal.h"

namespace {

constexpr size_t APP_IDS = 128;
constexpr size_t MUTEXES = 128;

std::mutex g_pool_mutex; // guards what follows

std::bitset<APP_IDS> app_flag{1}; // id 0 is never handed out

ovra_mutex_t* mutex_id[MUTEXES]; // made at first use, kept when given back
std::bitset<MUTEXES> mutex_flag; // those in use

// The lowest bit that is 0, or N.
template <size_t N>
size_t first_free(const std::bitset<N>& used) {
    size_t place = 0;
    while (place < N && used[place])
        ++place;
    return place;
}

} // namespace

int AssignAppId() {
    const std::lock_guard lock(g_pool_mutex);
    size_t id = first_free(app_flag);
    if (id == APP_IDS)
        return 0;
    app_flag.set(id);
    return static_cast<int>(id);
}

void ReleaseAppId(int appid) {
    if (appid <= 0 || appid >= static_cast<int>(APP_IDS)) {
        OV_LOG_ERROR(MMG_LOG_TAG, "wrong appid %d, can't be released!", appid);
        return;
    }
    const std::lock_guard lock(g_pool_mutex);
    app_flag.reset(static_cast<size_t>(appid));
}

ovra_mutex_t* AssignMutex() {
    const std::lock_guard lock(g_pool_mutex);
    size_t place = first_free(mutex_flag);
    if (place == MUTEXES)
        return nullptr;
    if (mutex_id[place] == nullptr)
        mutex_id[place] = Ovra_MutexCreate();
    if (mutex_id[place] != nullptr)
        mutex_flag.set(place);
    return mutex_id[place];
}

void ReleaseMutex(ovra_mutex_t* mutex) {
    const std::lock_guard lock(g_pool_mutex);
    auto* place = std::find(std::begin(mutex_id), std::end(mutex_id), mutex);
    if (mutex != nullptr && place != std::end(mutex_id))
        mutex_flag.reset(static_cast<size_t>(place - mutex_id));
}
