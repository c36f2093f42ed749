// A second node for a test of the kernel's TIPC: a process with a network of its own, joined to the test's by
// a pair of Ethernet devices that both use as bearers.
#pragma once

#include <functional>
#include <string>

#include <sys/types.h>

// For a body that has a private network already. Ends the other node's process when it goes.
class OtherNode {
public:
    // Runs the body on the other node when the bearers stand; the body ends with its process.
    explicit OtherNode(const std::function<void()>& body);
    ~OtherNode();
    OtherNode(const OtherNode&) = delete;
    OtherNode& operator=(const OtherNode&) = delete;

    // Waits until the body has ended; false when an expectation in it failed.
    bool ends_well();
    // Pulls the plug: the link between the nodes is lost.
    static void cut();

private:
    pid_t pid_ = -1;
};
