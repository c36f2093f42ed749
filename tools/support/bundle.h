// An archive under way: it and its members stand in a directory of their own beside the place where it will
// stand, which nobody else can enter, until it is whole. Nothing is left of that when it doesn't come to
// that.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// There will be no archive; what() is for the operator.
struct NoBundle : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Bundle {
public:
    // directory: where the archive will stand; name: of the archive without its ending, and of the directory
    // in it. Throws NoBundle when nothing can be written there.
    Bundle(std::string directory, std::string name);
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    // A member such as "log/gpon.log", and what it is. Throws NoBundle when there is no room.
    void add(const std::string& member, std::string_view content, const std::string& about);
    // What would have been a member, and why it isn't.
    void leave_out(const std::string& member, const std::string& why);

    // What MANIFEST says of all members; `remarks` stand in front of them. Then the archive, whose path is
    // given back.
    std::string finish(const std::string& remarks);

private:
    std::string manifest(const std::string& remarks) const;
    void write(const std::string& member, std::string_view content);

    std::string directory_;
    std::string name_;
    std::string staging_;
    std::vector<std::string> members_; // their lines of MANIFEST
    std::vector<std::string> left_out_;
};
