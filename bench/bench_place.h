// A place for benchmarks that need a chassis: a file system and network of their own, the platform's facts,
// and a card in a process of its own that answers raw bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench_place {

inline constexpr size_t IPC_HEADER = 28;

struct Address {
    sockaddr_un un = {};
    socklen_t len;
    explicit Address(const std::string& name) {
        un.sun_family = AF_UNIX;
        memcpy(un.sun_path + 1, name.data(), name.size());
        len = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&un); }
};

inline std::string card_name(uint32_t slot) {
    return "ov_ipc/19101/" + std::to_string(10100 + slot);
}

inline int bound_socket(const std::string& name) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int room = 0xa0000;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    const Address address(name);
    if (bind(fd, address.get(), address.len) != 0) {
        perror("bind");
        exit(1);
    }
    return fd;
}

inline uint32_t word(const unsigned char* at) {
    uint32_t value;
    memcpy(&value, at, 4);
    return ntohl(value);
}
inline void set_word(unsigned char* at, uint32_t value) {
    value = htonl(value);
    memcpy(at, &value, 4);
}

inline void write_file(const std::string& path, const std::string& text) {
    if (FILE* file = fopen(path.c_str(), "w")) {
        fputs(text.c_str(), file);
        fclose(file);
    }
}

// Names, lock, log and table files are those of the product.
inline void enter_private_place() {
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) != 0) {
        perror("unshare");
        exit(1);
    }
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", uid + " " + uid + " 1\n");
    write_file("/proc/self/gid_map", gid + " " + gid + " 1\n");
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    for (const char* path : {"/tmp", "/run", "/var/run"}) {
        struct stat st;
        if (lstat(path, &st) != 0 || !S_ISDIR(st.st_mode))
            continue;
        if (mount("tmpfs", path, "tmpfs", 0, "mode=0777") != 0) {
            perror(path);
            exit(1);
        }
    }
}

// The largest shelf, with the daemon's board in slot 8.
inline void set_up_platform() {
    mkdir("/tmp/bin", 0755);
    mkdir("/tmp/product", 0755);
    write_file("/tmp/recovering", "0");
    write_file("/tmp/bin/ov_env_get", "#!/bin/sh\n"
                                      "case $1 in\n"
                                      "PDT_INFO_SHELF_TYPE) echo 53 ;;\n"
                                      "PDT_INFO_CARD_SLOTID) echo 8 ;;\n"
                                      "OV_APP_FLAG_FILE_HA_RECOVERY) echo /tmp/recovering ;;\n"
                                      "OV_APP_FLAG_SYS_OPSTATUS) cat /tmp/operational 2>/dev/null ;;\n"
                                      "*) exit 1 ;;\n"
                                      "esac\n");
    chmod("/tmp/bin/ov_env_get", 0755);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
    setenv("OV_IPC_CARRIER", "unix", 1);
}

// A card: answers requests with themselves.
[[noreturn]] inline void be_echoing_card(uint32_t slot) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    prctl(PR_SET_NAME, "echo-card");
    const int fd = bound_socket(card_name(slot));
    std::array<unsigned char, 4096> buf;
    for (;;) {
        const ssize_t got = recv(fd, buf.data(), buf.size(), 0);
        if (got < ssize_t(IPC_HEADER + 52) || word(&buf[8]) != 1)
            continue;
        const Address to("ov_ipc/" + std::to_string(word(&buf[12]) + 19000) + "/" +
                         std::to_string(word(&buf[16])));
        set_word(&buf[8], 2);
        sendto(fd, buf.data(), size_t(got), 0, to.get(), to.len);
    }
}

} // namespace bench_place
