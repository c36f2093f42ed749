// Requests of a manager, handed to a table's chain of handlers in this process as the agent would.
#pragma once

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/agent_callbacks.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "../support/vector_less.h"
#include "all_modules.h"
#include "mmg_internal.h"
#include "table_module.h"

using Oid = std::vector<oid>;

inline constexpr bool OID_IS_WIDE = std::numeric_limits<oid>::digits > 32;

// An arc that no index has: 2 to the power of bit, or the largest there is where arcs have 32 bits.
inline constexpr oid beyond(unsigned bit) {
    constexpr unsigned bits = std::numeric_limits<oid>::digits;
    return bit < bits ? oid(uint64_t{1} << (bit % bits)) : std::numeric_limits<oid>::max();
}

// The name of a variable of a table: column, then index.
inline Oid variable_name(const TableModule& module, oid column, const Oid& index) {
    Oid name(module.table_oid().begin(), module.table_oid().end());
    name.push_back(1);
    name.push_back(column);
    name.insert(name.end(), index.begin(), index.end());
    return name;
}

// One PDU on one table.
class Pdu {
public:
    explicit Pdu(const TableModule& module) : module_(module) {}
    ~Pdu() {
        for (netsnmp_request_info* request : requests_) {
            netsnmp_free_request_data_sets(request);
            snmp_free_varbind(request->requestvb);
            free(request);
        }
    }
    Pdu(const Pdu&) = delete;
    Pdu& operator=(const Pdu&) = delete;

    // Variables: for GET and GETNEXT, and for SET.
    Pdu& add(const Oid& name, int type = ASN_NULL, const void* value = nullptr, size_t length = 0) {
        auto* request = static_cast<netsnmp_request_info*>(calloc(1, sizeof(netsnmp_request_info)));
        snmp_varlist_add_variable(&request->requestvb, name.data(), name.size(), static_cast<u_char>(type),
                                  value, length);
        request->index = static_cast<int>(requests_.size()) + 1;
        if (!requests_.empty()) {
            requests_.back()->next = request;
            request->prev = requests_.back();
        }
        requests_.push_back(request);
        return *this;
    }
    Pdu& get(oid column, const Oid& index) { return add(variable_name(module_, column, index)); }
    Pdu& integer(oid column, const Oid& index, long value, int type = ASN_INTEGER) {
        return add(variable_name(module_, column, index), type, &value, sizeof(value));
    }
    Pdu& text(oid column, const Oid& index, const std::string& value, int type = ASN_OCTET_STR) {
        return add(variable_name(module_, column, index), type, value.data(), value.size());
    }

    // One mode through the whole chain.
    Pdu& run(int mode) {
        netsnmp_agent_request_info info{};
        info.mode = mode;
        EXPECT_EQ(netsnmp_call_handlers(table_cntl[module_.desc().registry_index].reg, &info, requests_[0]),
                  SNMP_ERR_NOERROR);
        EXPECT_EQ(info.mode, mode);
        return *this;
    }
    // The error of each variable.
    std::vector<int> errors() const {
        std::vector<int> errors;
        for (const netsnmp_request_info* request : requests_)
            errors.push_back(request->status);
        return errors;
    }
    // The first error, 0 for none.
    int error() const {
        for (int error : errors()) {
            if (error != 0)
                return error;
        }
        return 0;
    }
    // All phases, as the agent has them: FREE behind a failed RESERVE, UNDO behind a failed ACTION. Returns
    // the first error.
    int set() {
        for (int phase : {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION}) {
            run(phase);
            if (int failed = error()) {
                run(phase == MODE_SET_ACTION ? MODE_SET_UNDO : MODE_SET_FREE);
                return failed;
            }
        }
        run(MODE_SET_COMMIT);
        return error();
    }

    const netsnmp_variable_list& variable(size_t i = 0) const { return *requests_.at(i)->requestvb; }
    netsnmp_request_info* request(size_t i = 0) const { return requests_.at(i); }
    int type(size_t i = 0) const { return variable(i).type; }
    long number(size_t i = 0) const { return *variable(i).val.integer; }
    std::string bytes(size_t i = 0) const {
        return {reinterpret_cast<const char*>(variable(i).val.string), variable(i).val_len};
    }
    Oid name(size_t i = 0) const { return {variable(i).name, variable(i).name + variable(i).name_length}; }

private:
    const TableModule& module_;
    std::vector<netsnmp_request_info*> requests_;
};

// Puts a row in service without asking anybody.
inline void set_row_active(const TableModule& module, void* row) {
    const int32_t active = OVRA_ACTIVE;
    memcpy(static_cast<char*>(row) + module.desc().row_status->offset, &active, sizeof(active));
}

// Plays the application module of a table, without which managers may not write: it takes whatever comes.
inline void play_module(const TableModule& module) {
    if (module.awaits_module())
        MibRegisterCallback(
            module.did(), CALLBACK_CHECK, "played", 0, [](MIBDID, void*, MIB_Flags_t) { return 1; },
            mibDefFlags);
}

// The tables that the daemon starts, in that order.
inline std::vector<std::string> tables_of_start() {
    return {
#define OV_TABLE_INIT(function) std::string(#function).substr(strlen("init_")),
#include "table_init_list.def"
#undef OV_TABLE_INIT
    };
}

// Where the agent got registrations while those tables were started, below the enterprise number.
inline std::vector<std::string>& registered_at_start() {
    static std::vector<std::string> names;
    return names;
}
inline int note_registration(int /*major*/, int /*minor*/, void* argument, void* /*own*/) {
    const auto* registered = static_cast<const register_parameters*>(argument);
    std::string name;
    for (size_t i = 7; i < registered->namelen; ++i)
        name += (name.empty() ? "" : ".") + std::to_string(registered->name[i]);
    registered_at_start().push_back(name);
    return 0;
}

// The agent library, and the tables as the daemon starts them. Once in the program.
inline void start_agent() {
    init_agent("tables");
    snmp_disable_stderrlog();
    snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_REGISTER_OID, note_registration,
                           nullptr);
    for (TableModule* module : all_modules())
        (void)module; // makes it known
    for (const std::string& name : tables_of_start())
        table_module_find(name.c_str())->initialize_table();
    snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_REGISTER_OID, note_registration,
                             nullptr, 0);
}

// A program with an agent, and a directory for table files.
class SnmpTest : public testing::Test {
protected:
    SnmpTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tables.XXXXXX").string();
        directory_ = mkdtemp(pattern.data());
        setenv("OV_PDT_RUN_MIB_DATA_DIR", directory_.c_str(), 1);
        // The platform's environment tool, which knows nothing.
        std::ofstream(directory_ / "ov_env_get") << "#!/bin/sh\nexit 1\n";
        std::filesystem::permissions(directory_ / "ov_env_get", std::filesystem::perms::owner_all);
        setenv("PATH", (directory_.string() + ":" + path_).c_str(), 1);
        [[maybe_unused]] static const bool once = (start_agent(), true);
    }
    ~SnmpTest() override {
        unsetenv("OV_PDT_RUN_MIB_DATA_DIR");
        setenv("PATH", path_.c_str(), 1);
        std::filesystem::remove_all(directory_);
    }

    std::filesystem::path directory_;
    const std::string path_ = getenv("PATH");
};
