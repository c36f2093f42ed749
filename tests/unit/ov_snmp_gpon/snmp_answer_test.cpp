// What the tables answer by themselves, against what the agent library answers for them: the same PDUs of a
// master go both ways, and the Responses must be the same, byte by byte.
#include "table_snmp_answer.h"

#include <gmock/gmock.h>

#include <sys/eventfd.h>

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../snmplib/played_master.h"
#include "../support/dice.h"
#include "../support/log_capture.h"
#include "agentx.h"
#include "agentx_link.h"
#include "agentx_query.h"
#include "ov_clock.h"
#include "sGemTable.h"
#include "sMcastVlanTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sServiceTable.h"
#include "sTcontTable.h"
#include "snmp_pdu.h"

namespace {

enum : uint8_t { GET = 5, GET_NEXT = 6, GET_BULK = 7 };

// ---- PDUs --------------------------------------------------------------------------------------------

struct Range {
    Oid start;
    Oid end = {};
    bool include = false;
};

// A request as a master may write it: words of either byte order, names with a prefix or without.
class Request {
public:
    explicit Request(uint8_t type, bool network_order = true, bool prefixes = true)
        : type_(type), network_order_(network_order), prefixes_(prefixes) {}

    Request& bulk(uint16_t non_repeaters, uint16_t max_repetitions) {
        put(non_repeaters, 2);
        put(max_repetitions, 2);
        return *this;
    }
    Request& add(const Range& range) {
        put_name(range.start, range.include);
        put_name(range.end, false);
        return *this;
    }
    std::string pdu(uint32_t packet = 100, uint8_t flags = 0, uint32_t session = 7) const {
        Request whole(type_, network_order_);
        whole.bytes_ = {1, char(type_), char(flags | (network_order_ ? 0x10 : 0)), 0};
        for (const uint32_t word : {session, 55u, packet, uint32_t(bytes_.size())})
            whole.put(word, 4);
        return whole.bytes_ + bytes_;
    }

private:
    void put(uint32_t value, unsigned size) {
        for (unsigned n = 0; n < size; n++)
            bytes_ += char(value >> 8 * (network_order_ ? size - 1 - n : n));
    }
    void put_name(const Oid& name, bool include) {
        const Oid internet = {1, 3, 6, 1};
        const bool is_short = prefixes_ && name.size() >= 5 && name[4] > 0 && name[4] < 256 &&
                              std::equal(internet.begin(), internet.end(), name.begin());
        const size_t first = is_short ? 5 : 0;
        bytes_ += {char(name.size() - first), char(is_short ? name[4] : 0), char(include), 0};
        for (size_t i = first; i < name.size(); i++)
            put(uint32_t(name[i]), 4);
    }

    uint8_t type_;
    bool network_order_;
    bool prefixes_;
    std::string bytes_;
};

std::string hex(const std::string& bytes) {
    std::string text;
    char byte[8];
    for (size_t i = 0; i < bytes.size(); i++) {
        snprintf(byte, sizeof byte, "%02x%s", uint8_t(bytes[i]), i % 4 == 3 ? " " : "");
        text += byte;
    }
    return text;
}

// ---- both ways ---------------------------------------------------------------------------------------

// The master agent of a test, which opens the session and takes all that is registered. In a thread.
class PlayedMaster {
public:
    PlayedMaster() : thread_([this] { serve(); }) {}
    ~PlayedMaster() {
        shutdown(master_.fd(), SHUT_RDWR);
        thread_.join();
        thread_cancel(&wake_);
    }
    void send(const std::string& pdus) const { master_.send(pdus); }
    // The next Response of the daemon, with the loop at work meanwhile.
    std::string answer() {
        std::string got;
        EXPECT_TRUE(frr_run_until([&] {
            if (wake_ == nullptr)
                thread_add_read(frr_master(), on_heard, this, heard_, &wake_);
            return take(got);
        }));
        return got;
    }
    std::string ask(const std::string& pdu) {
        send(pdu);
        return answer();
    }

private:
    static void on_heard(struct thread* event) {
        eventfd_t count = 0;
        eventfd_read(static_cast<PlayedMaster*>(THREAD_ARG(event))->heard_, &count);
    }
    bool take(std::string& got) {
        const std::lock_guard lock(mutex_);
        if (answers_.empty())
            return false;
        got = std::move(answers_.front());
        answers_.pop_front();
        return true;
    }
    void serve() {
        master_.open_session();
        for (played::Heard heard = master_.hear(); heard.type != 0; heard = master_.hear()) {
            if (heard.type == played::RESPONSE) {
                const std::lock_guard lock(mutex_);
                answers_.push_back(heard.bytes);
                eventfd_write(heard_, 1);
            } else if (heard.type != played::NOTIFY) {
                master_.try_to_send(played::response(heard.packet));
            }
        }
    }

    played::Master master_;
    std::mutex mutex_;
    std::deque<std::string> answers_;
    const int heard_ = eventfd(0, EFD_NONBLOCK); // wakes the loop
    struct thread* wake_ = nullptr;
    std::thread thread_;
};

// How long each of the tables' looks at the clock takes; no time, so that a busy machine ends no GetBulk
// early.
std::chrono::milliseconds g_look_time{0};

// The daemon's clock, for which only that passes.
class SlowLooks {
public:
    SlowLooks() {
        now() = ov_wait_now();
        ov_clock_set_source(&SOURCE);
    }
    ~SlowLooks() { ov_clock_set_source(nullptr); }
    SlowLooks(const SlowLooks&) = delete;
    SlowLooks& operator=(const SlowLooks&) = delete;

private:
    static ov_mono_time_t& now() {
        static ov_mono_time_t time;
        return time;
    }
    static constexpr ov_clock_source_t SOURCE = {.wall = [] { return timespec{}; },
                                                 .mono = [] { return now() += g_look_time; }};
};

// What the tables answer; empty when they leave it to the library.
std::string own_answer(const std::string& pdu) {
    const SlowLooks clock;
    AgentxPdu response;
    const std::span request(reinterpret_cast<const uint8_t*>(pdu.data()), pdu.size());
    return table_snmp_answer(request, response) ? std::string(response.begin(), response.end()) : "";
}

std::vector<MIB_Flags_t> g_runs; // of the get chain
// The chain fills in what it was asked for, and not only what stands there anyway. The library also runs it
// for rows behind the end of a range, and then leaves them out.
bool g_fills_in_flags = true;
int on_get(MIBDID, void* row, MIB_Flags_t flags) {
    auto* tcont = static_cast<sTcontTable_entry*>(row);
    g_runs.push_back(flags);
    tcont->sTcontTableAllocID = int32_t(tcont->tcontId * 1000 + (g_fills_in_flags ? flags.flags[0] : 0));
    return 1;
}

const oid NUMBERS[] = {0, 1, 2, 3, 0x7FFFFFFF};

// A daemon's tables, all of the start, on a connection to a master.
class Agent {
public:
    Agent() {
        std::filesystem::create_directories("/tmp/tables");
        setenv("OV_PDT_RUN_MIB_DATA_DIR", "/tmp/tables", 1);
        smux_init(frr_master());
        for (const std::string& name : tables_of_start())
            table_module_find(name.c_str())->initialize_table();
        MibRegisterCallback(tconts().did(), CALLBACK_GET, "get", 0, on_get, mibDefFlags);
    }
    static TableModule& tconts() { return table_module_sTcontTable(); }
    // Puts back what the get chain has filled in, so that the next question finds the same.
    static void reset() {
        g_runs.clear();
        for (void* row = get_table_head(tconts().did()); row != nullptr;
             row = row_getNext(tconts().did(), row))
            fill_in(*static_cast<sTcontTable_entry*>(row));
    }
    static void fill_in(sTcontTable_entry& row) {
        row.sTcontTableAllocID = g_fills_in_flags ? 0 : int32_t(row.tcontId * 1000);
    }
    // By the library.
    std::string library_answer(const std::string& pdu) {
        reset();
        agentx_link_set_answerer(nullptr);
        std::string got = master.ask(pdu);
        agentx_link_set_answerer(table_snmp_answer);
        reset();
        return got;
    }

    const LogCapture log;
    PlayedMaster master;
};

void in_agent(const std::function<void(Agent&)>& body) {
    private_root::run([&] {
        Agent agent;
        body(agent);
    });
}

Oid root_of(const TableModule& module) {
    return {module.table_oid().begin(), module.table_oid().end()};
}
Oid end_of(const TableModule& module) {
    Oid end = root_of(module);
    ++end.back();
    return end;
}
Oid below(const TableModule& module, const Oid& tail) {
    Oid name = root_of(module);
    name.insert(name.end(), tail.begin(), tail.end());
    return name;
}

// ---- random ------------------------------------------------------------------------------------------

class Questions {
public:
    explicit Questions(uint32_t seed) : dice_(seed) {
        for (const char* name : {"sOnuTable", "sTcontTable", "sServiceTable", "sMcastVlanTable", "gemPmTable",
                                 "onuPmTable", "sOnuSrvProfileTable", "sRmUniVlanTable", "sRmWanTable"})
            modules_.push_back(table_module_find(name));
        for (TableModule* module : modules_)
            fill(*module);
    }
    // A Get or GetNext.
    std::string next(uint8_t type) {
        Request request(type, !dice_.one_in(4), !dice_.one_in(4));
        for (const Range& range : ranges(type != GET))
            request.add(range);
        return request.pdu(dice_.word());
    }
    std::vector<Range> ranges(bool with_ends) {
        std::vector<Range> made(dice_.one_in(10) ? 1 + dice_.below(24) : 1 + dice_.below(3));
        TableModule& first = any();
        for (Range& range : made) {
            TableModule& module = dice_.one_in(3) ? any() : first;
            range = {.start = name(module),
                     .end = with_ends ? end(module) : Oid{},
                     .include = with_ends && dice_.one_in(4)};
        }
        return made;
    }
    Dice& dice() { return dice_; }

private:
    TableModule& any() { return *modules_[dice_.below(modules_.size())]; }
    oid number() { return NUMBERS[dice_.below(std::size(NUMBERS))]; }
    // Rows with keys close to each other, and something in every column.
    void fill(TableModule& module) {
        std::vector<char> row(module.desc().entry_size);
        for (int i = 0; i < 12; i++) {
            std::vector<uint32_t> index;
            for (size_t k = 0; k < module.desc().index.size(); k++)
                index.push_back(uint32_t(number()));
            module.set_index(row.data(), index);
            if (module.find_row(row.data()) != nullptr)
                continue;
            auto* stored = static_cast<char*>(module.create_entry(row.data()));
            for (const ColumnDesc& column : module.desc().columns) {
                const auto bytes =
                    dice_.bytes(column.type == ColType::TEXT ? dice_.below(column.limit) : column.size);
                memcpy(stored + column.offset, bytes.data(), bytes.size());
            }
        }
    }
    // Mostly in a table, or not far off.
    Oid name(const TableModule& module) {
        switch (dice_.below(24)) {
        case 0:
            return {};
        case 1:
            return {1, 3, 6, dice_.below(3), 4};
        case 2: {
            Oid part = root_of(module);
            part.resize(1 + dice_.below(part.size()));
            return part;
        }
        case 3:
            return end_of(module);
        case 4:
            return below(module, {dice_.below(3)});
        case 5:
            return {1, 3, 6, 1, 4, 1, 47281, 9};
        case 6:
            return below(module, {dice_.below(4), 2, 1});
        default:
            break;
        }
        Oid tail = {1, dice_.one_in(4) ? dice_.below(40) : 1 + dice_.below(14)};
        const size_t wanted = module.desc().index.size();
        for (size_t k = dice_.one_in(3) ? dice_.below(wanted + 3) : wanted; k > 0; k--)
            tail.push_back(number());
        return below(module, tail);
    }
    Oid end(const TableModule& module) {
        return dice_.one_in(4) ? Oid{} : dice_.one_in(4) ? name(any()) : end_of(module);
    }

    Dice dice_;
    std::vector<TableModule*> modules_;
};

void compare(Agent& agent, uint8_t type) {
    constexpr int ROUNDS = 3000;
    g_fills_in_flags = type == GET;
    Questions questions(type);
    int own = 0;
    for (int round = 0; round < ROUNDS && !testing::Test::HasFailure(); round++) {
        const std::string pdu = questions.next(type);
        const std::string expected = agent.library_answer(pdu);
        const std::string got = own_answer(pdu);
        own += !got.empty();
        if (!got.empty()) {
            EXPECT_EQ(hex(got), hex(expected)) << "round " << round << "\n" << hex(pdu);
        }
    }
    EXPECT_GT(own, ROUNDS / 3);
}

TEST(SnmpAnswer, OfGetIsTheLibrarys) {
    in_agent([](Agent& agent) { compare(agent, GET); });
}

TEST(SnmpAnswer, OfGetNextIsTheLibrarys) {
    in_agent([](Agent& agent) { compare(agent, GET_NEXT); });
}

// ---- GetBulk -----------------------------------------------------------------------------------------

// A variable of a Response in network order.
struct Variable {
    Oid name;
    std::string bytes; // all of it
    bool is_end = false;
};

std::vector<Variable> variables_of(const std::string& response) {
    std::vector<Variable> variables;
    const auto word = [&](size_t at) {
        uint32_t value = 0;
        for (size_t n = 0; n < 4; n++)
            value = value << 8 | uint8_t(response.at(at + n));
        return value;
    };
    for (size_t at = 28; at < response.size();) {
        Variable variable;
        const size_t begin = at;
        const uint32_t type = word(at) >> 16;
        const uint32_t head = word(at + 4);
        if ((head >> 16 & 0xFF) != 0)
            variable.name = {1, 3, 6, 1, head >> 16 & 0xFF};
        for (at += 8; at < begin + 8 + (head >> 24) * 4; at += 4)
            variable.name.push_back(word(at));
        if (type == ASN_OCTET_STR || type == ASN_IPADDRESS)
            at += 4 + (word(at) + 3) / 4 * 4;
        else if (type < SNMP_NOSUCHOBJECT)
            at += type == ASN_COUNTER64 ? 8 : 4;
        variable.bytes = response.substr(begin, at - begin);
        variable.is_end = type == SNMP_ENDOFMIBVIEW;
        variables.push_back(variable);
    }
    return variables;
}

// The same by GetNexts, one for each repetition.
std::vector<std::string> by_get_next(std::vector<Range> ranges, size_t non_repeaters, size_t repetitions) {
    std::vector<std::string> expected;
    bool is_over = false;
    for (size_t n = 0; n < std::max<size_t>(repetitions, 1) && !is_over && !ranges.empty(); n++) {
        Request request(GET_NEXT);
        for (const Range& range : ranges)
            request.add(range);
        const auto found = variables_of(own_answer(request.pdu()));
        EXPECT_EQ(found.size(), ranges.size());
        is_over = true;
        for (size_t i = 0; i < found.size(); i++) {
            if (n > 0 || i < non_repeaters || repetitions > 0)
                expected.push_back(found[i].bytes);
            ranges[i].start = found[i].name;
            ranges[i].include = false;
            is_over = is_over && (found[i].is_end || (n == 0 && i < non_repeaters));
        }
        if (n == 0)
            ranges.erase(ranges.begin(), ranges.begin() + ptrdiff_t(std::min(non_repeaters, ranges.size())));
    }
    return expected;
}

TEST(SnmpAnswer, OfGetBulkIsThatOfAsManyGetNexts) {
    in_agent([](Agent&) {
        Questions questions(7);
        g_fills_in_flags = false;
        Agent::reset();
        Dice& dice = questions.dice();
        int own = 0;
        for (int round = 0; round < 3000 && !testing::Test::HasFailure(); round++) {
            const auto ranges = questions.ranges(true);
            const size_t non_repeaters = dice.below(4);
            const size_t repetitions = dice.one_in(8) ? 65535 : dice.below(12);
            Request request(GET_BULK);
            request.bulk(uint16_t(non_repeaters), uint16_t(repetitions));
            for (const Range& range : ranges)
                request.add(range);
            const std::string got = own_answer(request.pdu());
            if (got.empty())
                continue;
            own++;
            const size_t repeated = ranges.size() - std::min(ranges.size(), non_repeaters);
            const size_t limit = repeated == 0 ? 0 : 100 / repeated;
            std::vector<std::string> bytes;
            for (const Variable& variable : variables_of(got))
                bytes.push_back(variable.bytes);
            EXPECT_EQ(bytes, by_get_next(ranges, non_repeaters, std::min(repetitions, limit)))
                << "round " << round << " " << hex(request.pdu());
        }
        EXPECT_GT(own, 1000);
    });
}

// What the library makes of one that doesn't come to the end of all tables.
TEST(SnmpAnswer, OfGetBulkIsTheLibrarys) {
    in_agent([](Agent& agent) {
        const Questions filled(GET_BULK);
        for (const int repetitions : {0, 1, 2, 7, 50, 51, 1000}) {
            for (const int non_repeaters : {0, 1, 2}) {
                Request request(GET_BULK);
                request.bulk(uint16_t(non_repeaters), uint16_t(repetitions))
                    .add({.start = root_of(Agent::tconts())})
                    .add({.start = below(table_module_sServiceTable(), {1, 5, 1})});
                const std::string expected = agent.library_answer(request.pdu());
                EXPECT_EQ(hex(own_answer(request.pdu())), hex(expected))
                    << repetitions << " " << non_repeaters;
            }
        }
    });
}

TEST(SnmpAnswer, OfAGetBulkStaysInItsRange) {
    in_agent([](Agent&) {
        sTcontTable_createEntry(1, 1, 1, 1, 1);
        sServiceTable_createEntry(1, 1, 1, 1, 1);
        Request request(GET_BULK);
        request.bulk(0, 10).add({.start = below(Agent::tconts(), {1, 5}), .end = end_of(Agent::tconts())});
        const auto found = variables_of(own_answer(request.pdu()));
        ASSERT_EQ(found.size(), 3u);
        EXPECT_EQ(found[1].name, below(Agent::tconts(), {1, 6, 1, 1, 1, 1, 1}));
        EXPECT_TRUE(found[2].is_end);
        EXPECT_EQ(found[2].name, found[1].name);
    });
}

// It ends early instead of holding everybody (RFC 3416, 4.2.3), but has its first repetition.
TEST(SnmpAnswer, AGetBulkThatTakesLongEndsEarly) {
    in_agent([](Agent&) {
        for (unsigned onu = 1; onu <= 60; onu++)
            sTcontTable_createEntry(1, 1, 1, onu, 1);
        Request request(GET_BULK);
        request.bulk(0, 50).add({.start = below(Agent::tconts(), {1, 6})});
        EXPECT_EQ(variables_of(own_answer(request.pdu())).size(), 50u);
        g_look_time = std::chrono::milliseconds(20); // the first look and two within the time
        EXPECT_EQ(variables_of(own_answer(request.pdu())).size(), 3u);
        g_look_time = std::chrono::hours(1);
        EXPECT_EQ(variables_of(own_answer(request.pdu())).size(), 1u);
    });
}

// ---- the get chain -----------------------------------------------------------------------------------

TEST(SnmpAnswer, RunsTheGetChainOnceForAllColumnsOfATable) {
    in_agent([](Agent&) {
        sTcontTable_createEntry(1, 1, 1, 1, 1);
        sServiceTable_createEntry(1, 1, 1, 1, 1);
        Request request(GET_NEXT);
        request.add({.start = below(Agent::tconts(), {1, 2})})
            .add({.start = below(table_module_sServiceTable(), {1, 2})})
            .add({.start = below(Agent::tconts(), {1, 6})});
        Agent::reset();
        EXPECT_EQ(variables_of(own_answer(request.pdu())).size(), 3u);
        ASSERT_EQ(g_runs.size(), 1u);
        EXPECT_EQ(g_runs[0].flags[0], 1u << 2 | 1u << 6);
    });
}

// Which may ask a line card.
TEST(SnmpAnswer, ReadsNoRowBehindTheEndOfARange) {
    in_agent([](Agent&) {
        sTcontTable_createEntry(1, 1, 1, 1, 1);
        sGemTable_createEntry(1, 1, 1, 1, 1);
        TableModule& gems = table_module_sGemTable();
        Request request(GET_NEXT);
        request.add({.start = below(gems, {1, 14, 1, 1, 1, 1, 1}), .end = end_of(gems)});
        Agent::reset();
        const auto found = variables_of(own_answer(request.pdu()));
        ASSERT_EQ(found.size(), 1u);
        EXPECT_TRUE(found[0].is_end);
        EXPECT_EQ(g_runs.size(), 0u);
    });
}

TEST(SnmpAnswer, OfARowThatTheGetChainRemovesIsNoSuchInstance) {
    in_agent([](Agent&) {
        sServiceTable_createEntry(1, 1, 1, 1, 1);
        TableModule& services = table_module_sServiceTable();
        MibRegisterCallback(
            services.did(), CALLBACK_GET, "remove", 0,
            [](MIBDID did, void* row, MIB_Flags_t) { return row_del(did, row), 1; }, mibDefFlags);
        const Oid name = below(services, {1, 5, 1, 1, 1, 1, 1});
        const std::string response = own_answer(Request(GET).add({.start = name}).pdu());
        ASSERT_EQ(response.size(), 28u + 8 + 4 * (name.size() - 5));
        EXPECT_EQ(uint8_t(response[29]), SNMP_NOSUCHINSTANCE);
    });
}

// ---- what is the library's ---------------------------------------------------------------------------

TEST(SnmpAnswer, LeavesToTheLibraryWhatIsOutOfTheOrdinary) {
    in_agent([](Agent& agent) {
        sTcontTable_createEntry(1, 1, 1, 1, 1);
        const Range own = {.start = below(Agent::tconts(), {1, 5, 1, 1, 1, 1, 1})};
        const std::string get = Request(GET).add(own).pdu();
        EXPECT_NE(own_answer(get), "");
        EXPECT_EQ(own_answer(Request(GET).add(own).add({.start = {1, 3, 6, 1, 2, 1, 1, 1, 0}}).pdu()), "");
        EXPECT_EQ(own_answer(Request(GET).pdu()), "");
        for (const uint8_t flag : {1, 2, 4, 8, 32})
            EXPECT_EQ(own_answer(Request(GET).add(own).pdu(100, flag)), "") << int(flag);
        for (const uint8_t type : {1, 2, 8, 9, 10, 11, 13, 18})
            EXPECT_EQ(own_answer(Request(type).add(own).pdu()), "") << int(type);
        Request many(GET);
        for (size_t n = 0; n < AgentxQuery::MAX_RANGES; n++)
            many.add(own);
        EXPECT_NE(own_answer(many.pdu()), "");
        EXPECT_EQ(own_answer(many.add(own).pdu()), "");
        EXPECT_EQ(variables_of(agent.master.ask(many.pdu())).size(), AgentxQuery::MAX_RANGES + 1);
        snmp_set_do_debugging(1);
        EXPECT_EQ(own_answer(get), "");
        snmp_set_do_debugging(0);
    });
}

int other(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* info,
          netsnmp_request_info* requests) {
    for (; requests != nullptr; requests = requests->next)
        if (info->mode == MODE_GET)
            snmp_set_var_typed_integer(requests->requestvb, ASN_INTEGER, 1);
    return SNMP_ERR_NOERROR;
}

TEST(SnmpAnswer, LeavesObjectsOfOthersToTheLibraryFromTheirRegistrationOn) {
    in_agent([](Agent& agent) {
        const Request beyond_all =
            Request(GET_NEXT).add({.start = end_of(Agent::tconts()), .end = {1, 3, 6, 1, 4, 1, 99999}});
        EXPECT_TRUE(variables_of(own_answer(beyond_all.pdu())).at(0).is_end);
        const oid name[] = {1, 3, 6, 1, 4, 1, 50000};
        auto* registration =
            netsnmp_create_handler_registration("other", other, name, std::size(name), HANDLER_CAN_RONLY);
        ASSERT_EQ(netsnmp_register_handler(registration), MIB_REGISTERED_OK);
        EXPECT_EQ(own_answer(beyond_all.pdu()), "");
        const std::string get = Request(GET).add({.start = Oid(name, std::end(name))}).pdu();
        EXPECT_EQ(own_answer(get), "");
        EXPECT_EQ(uint8_t(agent.master.ask(get).at(29)), ASN_INTEGER);
        ASSERT_EQ(netsnmp_unregister_handler(registration), SNMPERR_SUCCESS);
        EXPECT_TRUE(variables_of(own_answer(beyond_all.pdu())).at(0).is_end);
    });
}

// ---- on the connection -------------------------------------------------------------------------------

TEST(SnmpAnswer, AnswersOfTablesAndLibraryComeInTheOrderOfTheQuestions) {
    in_agent([](Agent& agent) {
        sTcontTable_createEntry(1, 1, 1, 1, 1);
        const Range own = {.start = below(Agent::tconts(), {1, 4, 1, 1, 1, 1, 1})};
        const Range others = {.start = {1, 3, 6, 1, 2, 1, 1, 1, 0}};
        std::string all;
        for (uint32_t packet = 1; packet <= 100; packet++)
            all += Request(GET).add(packet % 7 == 0 ? others : own).pdu(packet);
        agent.master.send(all);
        for (uint32_t packet = 1; packet <= 100; packet++) {
            const std::string got = agent.master.answer();
            ASSERT_EQ(uint8_t(got.at(15)), packet);
            ASSERT_EQ(uint8_t(got.at(29)), packet % 7 == 0 ? SNMP_NOSUCHOBJECT : ASN_INTEGER);
        }
    });
}

TEST(SnmpAnswer, ARequestOfAnotherSessionIsTheLibrarys) {
    in_agent([](Agent& agent) {
        static int asked = 0;
        agent.log.clear();
        agentx_link_set_answerer([](std::span<const uint8_t>, AgentxPdu&) { return ++asked, false; });
        const Request get = Request(GET).add({.start = below(Agent::tconts(), {1, 5})});
        agent.master.ask(get.pdu(1, 0, 8));
        EXPECT_EQ(asked, 0);
        agent.master.ask(get.pdu(2));
        EXPECT_EQ(asked, 1);
    });
}

// ---- any bytes ---------------------------------------------------------------------------------------

TEST(SnmpAnswerFuzz, DamagedRequestsDoNoHarm) {
    in_agent([](Agent&) {
        Questions questions(99);
        Dice& dice = questions.dice();
        int answered = 0;
        constexpr int ROUNDS = 20000;
        for (int round = 0; round < ROUNDS; round++) {
            const std::string good = questions.next(uint8_t(GET + dice.below(3)));
            const auto bytes = dice.damaged(Dice::Bytes(good.begin(), good.end()));
            const std::string got = own_answer(std::string(bytes.begin(), bytes.end()));
            answered += !got.empty();
            if (!got.empty()) {
                EXPECT_TRUE(agentx_pdu_is_sound({reinterpret_cast<const uint8_t*>(got.data()), got.size()}));
            }
        }
        EXPECT_GT(answered, ROUNDS / 50);
        EXPECT_LT(answered, ROUNDS);
    });
}

} // namespace
