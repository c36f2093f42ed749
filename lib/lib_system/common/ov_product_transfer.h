// Files from and to a TFTP server, with the platform's client "tftp", and files that the management station
// moves over its own connection.
//
// These functions wait until the transfer is through, for minutes: they are for a thread of the caller's own,
// any but the event loop's. Each run of the client has a time limit, the environment variable
// OV_TRANSFER_TIMEOUT in seconds (300), past which it is killed and the step has failed; so has one whose
// host, port or file name may not stand in a command line (ov_command_word_ok), and then nothing is started.
// What was fetched in part is removed. A file that is replaced is the old one or the new one at any time.
#pragma once

#include <chrono>
#include <string>

#include "ov_product_place.h"

// ---- one transfer ------------------------------------------------------------------------------------

// Who is on the other side. `port` null leaves it to the client.
struct OvTftpServer {
    const char* host;
    const char* port;
};

// "tftp -l LOCAL -r REMOTE -p HOST PORT". 0 or -1.
int ov_product_tftp_put(const OvTftpServer& server, const std::string& local, const std::string& remote);
// "tftp -r REMOTE -l LOCAL -g HOST PORT", into a file that is made anew; `longest` in bytes is what the
// server may send at most. 0, or -1 and no file.
int ov_product_tftp_get(const OvTftpServer& server, const std::string& remote, const std::string& local,
                        uint64_t longest);

// What a server may send.
inline constexpr uint64_t OV_CONFIG_LONGEST = 64u << 20;
inline constexpr uint64_t OV_LOAD_LONGEST = 512u << 20;
inline constexpr uint64_t OV_ONU_LOAD_LONGEST = 128u << 20;
inline constexpr uint64_t OV_DIGEST_LONGEST = 64u << 10;

// The time limit of a run.
std::chrono::seconds ov_product_transfer_limit();

// ---- configuration -----------------------------------------------------------------------------------

// What the functions below give when a step failed.
inline constexpr int OV_TRANSFER_FAILED = 101001;

// Sends the configuration file (upload other than 0), or fetches one in its place with the old one as backup.
// 0 or OV_TRANSFER_FAILED.
int ov_product_transmit_config_by_tftp(int upload, const char* host, const char* port, const char* path);
// Takes the configuration file from the station's download directory. 0 or OV_TRANSFER_FAILED.
int ov_product_get_config_file_by_sftp(const char* name);
// Packs the configuration for the station: OV_CONFIG_PACK in OV_NMS_UPLOAD_DIR. 0 or OV_TRANSFER_FAILED.
int ov_product_pack_config_file();
inline constexpr char OV_CONFIG_PACK[] = "config.tar.gz";

// ---- diagnostics -------------------------------------------------------------------------------------

// Gathers configuration, crash files and logs in the directory `temporary`, packs them and sends the pack as
// NAME.tar.gz. 0 or -1; nothing of it is left.
int ov_product_transmit_log_by_tftp(const char* host, const char* port, const char* temporary,
                                    const char* name);
