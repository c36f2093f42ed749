// Stands in the daemon's place towards the cards, for the system tests: takes commands on standard input,
// makes the calls that the application modules make, and prints what came of each on one line.
//
//   up SLOT, down SLOT                        the controller's word on a slot's channel
//   send TYPE ACTION MASK REPLY HEX           ov_hal_gpon_msg_send: "RESULT RECORD-IN-HEX"; the record is
//   filled
//                                             up with zeros to its size
//   many COUNT TYPE ACTION MASK HEX           the same without reply, COUNT times; the last word of the
//   record
//                                             counts; "FAILURES"
//   recv COUNT MS                             up to COUNT queued messages: "TYPE LENGTH HEX" each, then "end"
//   driver TEXT                               ov_hal_gpon_drv_msg_send
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "hal_outbox.h"
#include "hal_slot.h"
#include "hal_sock.h"
#include "ov_hal_gpon_msg.h"
#include "ov_slot.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes from_hex(const std::string& text, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i + 1 < text.size() && i / 2 < size; i += 2)
        std::from_chars(text.data() + i, text.data() + i + 2, bytes[i / 2], 16);
    return bytes;
}

std::string to_hex(const unsigned char* bytes, size_t size) {
    std::string text;
    char two[3];
    for (size_t i = 0; i < size; i++) {
        snprintf(two, sizeof two, "%02x", bytes[i]);
        text += two;
    }
    return text;
}

size_t record_size(int type) {
    const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(static_cast<unsigned>(type));
    return desc != nullptr && desc->size != 0 ? desc->size : 4;
}

void set_slot(unsigned slot, bool up) {
    ov_slot_set_connected(slot, up ? 1 : 0);
    if (up)
        hal_slot_active_flag_set(__func__, __LINE__, static_cast<unsigned short>(slot));
    else
        hal_slot_active_flag_clear(__func__, __LINE__, static_cast<unsigned short>(slot));
    std::cout << "ok" << std::endl;
}

// This program has no loop that would send what a card has no room for yet.
void send_what_waits() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (unsigned slot = 1; slot <= OV_SLOT_MAX; slot++)
        hal_outbox_drain(slot, deadline);
}

void send_one(std::istringstream& words) {
    int type = 0;
    int action = 0;
    int mask = 0;
    int reply = 0;
    std::string hex;
    words >> type >> action >> mask >> reply >> hex;
    Bytes record = from_hex(hex, record_size(type));
    const int result =
        ov_hal_gpon_msg_send(type, static_cast<ov_hal_gpon_msg_action_t>(action), record.data(), mask, reply);
    send_what_waits();
    std::cout << result << ' ' << to_hex(record.data(), record.size()) << std::endl;
}

void send_many(std::istringstream& words) {
    uint32_t count = 0;
    int type = 0;
    int action = 0;
    int mask = 0;
    std::string hex;
    words >> count >> type >> action >> mask >> hex;
    Bytes record = from_hex(hex, record_size(type));
    int failures = 0;
    for (uint32_t i = 0; i < count; i++) {
        const uint32_t number = __builtin_bswap32(i);
        memcpy(record.data() + record.size() - sizeof number, &number, sizeof number);
        failures += ov_hal_gpon_msg_send(type, static_cast<ov_hal_gpon_msg_action_t>(action), record.data(),
                                         mask, 0) != 0;
    }
    send_what_waits();
    std::cout << failures << std::endl;
}

unsigned print_received(unsigned type, void* buf, unsigned len) {
    constexpr unsigned head = 16; // the length counts the head, the buffer stands behind it
    const unsigned size = len > head ? len - head : 0;
    std::cout << type << ' ' << len << ' ' << to_hex(static_cast<unsigned char*>(buf), size) << '\n';
    return 0;
}

void receive(std::istringstream& words) {
    int count = 0;
    int milliseconds = 0;
    words >> count >> milliseconds;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (count > 0 && std::chrono::steady_clock::now() < end) {
        if (hal_recv(print_received) == 0)
            count--;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::cout << "end" << std::endl;
}

void send_driver_text(std::istringstream& words) {
    std::string text;
    std::getline(words >> std::ws, text);
    std::cout << ov_hal_gpon_drv_msg_send(OV_HAL_MSG_GPON_DRV_CMD, text.data()) << std::endl;
}

void run(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    unsigned slot = 0;
    words >> command;
    if (command == "up" || command == "down") {
        words >> slot;
        set_slot(slot, command == "up");
    } else if (command == "send") {
        send_one(words);
    } else if (command == "many") {
        send_many(words);
    } else if (command == "recv") {
        receive(words);
    } else if (command == "driver") {
        send_driver_text(words);
    } else {
        std::cout << "unknown command" << std::endl;
    }
}

} // namespace

int main() {
    ov_slot_init();
    hal_init(HAL_GPON, nullptr, nullptr);
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line);)
        run(line);
    return 0;
}
