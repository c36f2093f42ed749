#include "onu_image_copy.h"

#include <map>

#include "ov_loop_thread.h"
#include "ov_product_onu_image.h"
#include "ovra_thread.h"

namespace {

constexpr unsigned COPY_STACK = 0x20000; // bytes

// By the name of the file; what is over is taken out when somebody comes.
using Copies = std::map<std::string, std::weak_ptr<OnuImageCopy>>;
Copies& under_way() {
    static auto& all = *new Copies;
    return all;
}

std::shared_ptr<OnuImageCopy> find_under_way(const std::string& version) {
    std::erase_if(under_way(), [](const auto& each) { return each.second.expired(); });
    const auto found = under_way().find(version);
    const auto copy = found != under_way().end() ? found->second.lock() : nullptr;
    return copy != nullptr && !copy->is_over() ? copy : nullptr;
}

} // namespace

std::shared_ptr<OnuImageCopy> OnuImageCopy::begin(const std::string& version) {
    ov_assert_on_loop();
    if (auto copy = find_under_way(version))
        return copy;
    auto made = std::make_shared<OnuImageCopy>(version);
    auto own = std::make_unique<std::shared_ptr<OnuImageCopy>>(made);
    if (ov_product_onu_image_is_copied(version.c_str()) ||
        Ovra_ThreadCreate("onuImage", 0, COPY_STACK, run, own.get(), nullptr) != 0) {
        made->copy();
        return made;
    }
    own.release(); // NOLINT(bugprone-unused-return-value): the thread's from here on
    under_way()[version] = made;
    return made;
}

// The thread; `context` is a shared pointer to its copy, and its own.
void* OnuImageCopy::run(void* context) {
    const std::unique_ptr<std::shared_ptr<OnuImageCopy>> own(
        static_cast<std::shared_ptr<OnuImageCopy>*>(context));
    (*own)->copy();
    return nullptr;
}

void OnuImageCopy::copy() {
    const int result = ov_product_onuupdate_mibdata_convert_to_hal(version_.c_str());
    const std::lock_guard lock(mutex_);
    result_ = result;
    is_over_ = true;
    ended_.notify_all();
}

bool OnuImageCopy::wait(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, limit, [this] { return is_over_; });
}

void OnuImageCopy::wait() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return is_over_; });
}
