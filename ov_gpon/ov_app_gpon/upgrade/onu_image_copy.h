// A firmware file on its way to the place from where the cards take it, copied by a thread of its own: an
// image has tens of megabytes, and a flash disk isn't fast.
//
//     const auto copy = OnuImageCopy::begin("hg-2.bin");
//     ... later, when copy->is_over(): copy->result()
//
// A file that is being copied isn't copied a second time: who comes then waits for the same copy. Main loop
// only.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

class OnuImageCopy {
public:
    // One that stands already (ov_product_onu_image.h) is over at once.
    static std::shared_ptr<OnuImageCopy> begin(const std::string& version);

    explicit OnuImageCopy(std::string version) : version_(std::move(version)) {}

    // Waits so long at most; whether it is over.
    bool wait(std::chrono::milliseconds limit);
    void wait();
    bool is_over() {
        const std::lock_guard lock(mutex_);
        return is_over_;
    }
    // When it is over: 0, or OV_GPON_RET_NO_RESOURCE.
    int result() const { return result_; }

private:
    static void* run(void* context);
    void copy();

    const std::string version_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool is_over_ = false;
    int result_ = 0; // set before that
};
