#pragma once

// A signal as something that can be waited for beside other things.

/// From its making on, the signal only makes descriptor() readable. Programs that the process
/// starts get it as usual. One object for a signal at a time.
class SignalWatch {
public:
    explicit SignalWatch(int signo_given);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// For poll().
    int descriptor() const { return read_end_; }

    /// Did it come since the last call?
    bool take();

private:
    int signo_;
    int read_end_;
};
