#include "onu_images.h"

#include <utility>

OnuImages::Image OnuImages::image(uint8_t number, const std::string& running) const {
    Image image;
    image.is_active = number == running_;
    image.is_committed = number == committed_;
    image.is_valid = image.is_active || is_valid_;
    image.version = image.is_active ? running : other_.value_or(running);
    return image;
}

// An ONU never overwrites what it starts from without anything else to start from.
void OnuImages::begin_load() {
    committed_ = running_;
    is_valid_ = false;
    other_ = "";
}

void OnuImages::loaded(std::string version) {
    is_valid_ = true;
    other_ = std::move(version);
}

void OnuImages::start(std::string& running) {
    const uint8_t from = std::exchange(next_, std::nullopt).value_or(committed_);
    if (from == running_)
        return;
    running_ = from;
    std::string before = std::exchange(running, other_.value_or(running));
    other_ = std::move(before);
}
