// The two software images of an ONU (ITU-T G.988 software image): one runs, one is committed, which is what
// the ONU starts from; a new version goes into the one that doesn't run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

class OnuImages {
public:
    struct Image {
        std::string version;
        bool is_valid = true;
        bool is_active = false;
        bool is_committed = false;
    };

    // Images 0 and 1, of an ONU that runs this version.
    Image image(uint8_t number, const std::string& running) const;

    bool other_is_valid() const { return is_valid_; }
    // A new version begins to overwrite the image that doesn't run; it is no good until it is there.
    void begin_load();
    void loaded(std::string version);
    void commit_other() { committed_ = other(); }
    // The next start is one from the image that doesn't run, whatever is committed.
    void start_other_next() { next_ = other(); }
    // The ONU starts: `running` becomes the version that runs now.
    void start(std::string& running);

private:
    uint8_t other() const { return running_ == 0 ? 1 : 0; }

    uint8_t running_ = 0;
    uint8_t committed_ = 0;
    std::optional<uint8_t> next_;
    std::optional<std::string> other_; // its version; none: made with the ONU, as the one that runs
    bool is_valid_ = true;             // of the other
};
