#pragma once

// A signal as something that can be waited for beside other things.

/// From its making on, the signal only makes descriptor() readable. Programs that the process
/// starts get it as usual. One object for a signal at a time.
class signal_watch {
public:
    explicit signal_watch(int signo_given);
    ~signal_watch();
    signal_watch(const signal_watch&) = delete;
    signal_watch& operator=(const signal_watch&) = delete;

    /// For poll().
    int descriptor() const { return read_end; }

    /// Did it come since the last call?
    bool take();

private:
    int signo;
    int read_end;
};
