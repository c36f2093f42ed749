// Thousands of random operations on QinQ rules, with cards and tables that refuse: list, ids, rows and what
// the card holds are at each step what the rules say, where these leave them apart too.
#include "../support/qinq_chassis.h"

#include <map>
#include <set>
#include <tuple>

#include "../../support/dice.h"

using namespace qinq_test;

namespace {

using Numbers = std::array<int, 6>; // bits, first and last VLAN, Ethernet type, cos, service VLAN

Numbers numbers_of(const Rule& rule) {
    return {rule.opflag, rule.user_vlan_min, rule.user_vlan_max, rule.ether_type, rule.cos, rule.svlan};
}

struct Held {
    ov_ifindex_t ifindex;
    int id;
    Numbers numbers;
    bool operator==(const Held&) const = default;
};

// The rules in words of their own: no bitmaps, no maps, one list.
class Model {
public:
    std::vector<Held> list; // the newest first
    std::map<std::pair<ov_ifindex_t, std::array<int, 5>>, int> rows;
    std::map<std::pair<ov_ifindex_t, int>, Numbers> card;
    bool operational = true;
    bool card_refuses = false;
    bool table_refuses = false;

    int add(const Rule& rule) {
        const Numbers n = numbers_of(rule);
        for (const Held& held : list)
            if (held.ifindex == rule.ifindex && is_same(held.numbers, n))
                return 1002;
        for (const Held& held : list)
            if (excludes(held.ifindex, rule.ifindex) ||
                (held.ifindex == rule.ifindex && meets(held.numbers, n)))
                return 1000;
        const int id = free_id(rule.ifindex);
        if (id == 0)
            return 1005;
        if (tells_card(rule.ifindex)) {
            if (card_refuses)
                return 1000;
            card[{rule.ifindex, id}] = n;
        }
        const auto row = rows.find(row_key(rule.ifindex, n));
        if (row != rows.end() ? row->second != n[5] : table_refuses)
            return 1000; // the card keeps it
        rows[row_key(rule.ifindex, n)] = n[5];
        list.insert(list.begin(), {rule.ifindex, id, n});
        return 0;
    }
    int del(const Rule& rule) {
        for (auto held = list.begin(); held != list.end(); ++held)
            if (held->ifindex == rule.ifindex && is_same(held->numbers, numbers_of(rule)))
                return take(held);
        return 1001;
    }
    int del_all(ov_ifindex_t ifindex) {
        for (auto held = list.begin(); held != list.end();) {
            if (held->ifindex != ifindex) {
                ++held;
                continue;
            }
            const auto place = held - list.begin();
            if (const int result = take(held); result != 0)
                return result;
            held = list.begin() + place;
        }
        return 0;
    }
    int remove_of(ov_ifindex_t ifindex) {
        int result = 0;
        for (int id = 1; id <= 32; ++id)
            for (auto held = list.begin(); held != list.end(); ++held)
                if (held->ifindex == ifindex && held->id == id) {
                    result |= take(held);
                    break;
                }
        return result;
    }
    int restore(int slot) {
        for (const Held& held : list)
            if (int(ov_ifindex_get_slot_id(held.ifindex)) == slot) {
                if (card_refuses)
                    return CARD_REFUSED;
                card[{held.ifindex, held.id}] = held.numbers;
            }
        return 0;
    }
    std::vector<int> ids(ov_ifindex_t ifindex) const {
        std::vector<int> found;
        for (auto held = list.rbegin(); held != list.rend(); ++held)
            if (held->ifindex == ifindex)
                found.push_back(held->id);
        return found;
    }

private:
    static bool has(const Numbers& n, int bit) { return (n[0] >> bit & 1) != 0; }
    static std::pair<ov_ifindex_t, std::array<int, 5>> row_key(ov_ifindex_t ifindex, const Numbers& n) {
        return {ifindex, {n[0], n[1], n[2], n[3], n[4]}};
    }
    bool tells_card(ov_ifindex_t ifindex) const {
        return operational && int(ov_ifindex_get_slot_id(ifindex)) == SLOT;
    }
    static bool is_same(const Numbers& held, const Numbers& n) {
        if (held[0] != n[0])
            return false;
        if (has(n, 3) && held[1] != n[1])
            return false;
        if (has(n, 4) && (held[1] != n[1] || held[2] != n[2]))
            return false;
        return (!has(n, 5) || held[3] == n[3]) && (!has(n, 6) || held[4] == n[4]);
    }
    static bool meets(const Numbers& held, const Numbers& n) {
        for (int bit = 0; bit <= 6; ++bit) {
            if (!has(held, bit) && !has(n, bit))
                continue;
            if (bit == 2 && has(n, 2))
                return true;
            if (bit == 3 && held[1] != n[1]) {
                if (n[2] == 0 || held[1] < n[1] || held[1] > n[2])
                    return false;
            }
            if (bit == 4) {
                if (n[1] == 0)
                    return false;
                if (n[2] == 0 && (n[1] < held[1] || n[1] > held[2]))
                    return false;
                if (n[2] != 0 && !(n[1] <= held[2] && held[1] <= n[2]))
                    return false;
            }
            if ((bit == 5 && held[3] != n[3]) || (bit == 6 && held[4] != n[4]))
                return false;
        }
        return true;
    }
    static bool excludes(ov_ifindex_t held, ov_ifindex_t added) {
        const auto place = [](ov_ifindex_t ifindex) {
            return std::pair(ov_ifindex_get_slot_id(ifindex), ov_ifindex_get_port_id(ifindex));
        };
        return ov_ifindex_get_port_type(held) != ov_ifindex_get_port_type(added) &&
               place(held) == place(added);
    }
    int free_id(ov_ifindex_t ifindex) const {
        std::set<int> taken;
        for (const Held& held : list)
            if (held.ifindex == ifindex)
                taken.insert(held.id);
        for (int id = 1; id <= 32; ++id)
            if (!taken.contains(id))
                return id;
        return 0;
    }
    int take(std::vector<Held>::iterator held) {
        const Held gone = *held;
        list.erase(held);
        int result = 0;
        if (tells_card(gone.ifindex)) {
            if (card_refuses)
                result |= CARD_REFUSED;
            else
                card.erase({gone.ifindex, gone.id});
        }
        const auto row = rows.find(row_key(gone.ifindex, gone.numbers));
        if (row != rows.end()) {
            if (table_refuses)
                result |= 1000;
            else
                rows.erase(row);
        }
        return result;
    }
};

bool g_table_refuses = false;

class Play {
public:
    explicit Play(AppChassis& chassis) : chassis_(chassis), dice_(20261122) {
        const CallbackRegistration app = {"refuser", 1, "the refuser isn't registered"};
        app.add(
            SMARTQINQ, CALLBACK_CHECK, [](MIBDID, void*, MIB_Flags_t) { return g_table_refuses ? 0 : 1; },
            mibDefFlags);
    }

    // While it grows, nothing is deleted: ids run out.
    void step(bool grows) {
        if (dice_.one_in(6))
            change_world();
        const Rule rule = any_rule();
        switch (grows ? 15 : dice_.below(16)) {
        case 0:
            expect(del(rule_on(rule.ifindex, ALL)), model.del_all(rule.ifindex), "delete all");
            break;
        case 1:
            if (dice_.one_in(4))
                expect(ov_app_gpon_port_qinq_del(rule.ifindex), model.remove_of(rule.ifindex), "remove");
            break;
        case 2:
            if (dice_.one_in(8))
                expect(ov_app_gpon_qinq_config_restore(SLOT), model.restore(SLOT), "restore");
            break;
        case 3:
        case 4:
        case 5:
            delete_one(known_or(rule));
            break;
        case 6:
            write_row(rule);
            break;
        default:
            expect(add(rule), model.add(rule), "add");
        }
        follow_card();
    }

    void compare() {
        std::vector<Held> list;
        for (const QinqLink* link = g_qinq_attr.next; link != &g_qinq_attr; link = link->next) {
            const Rule& rule = qinq_element(*link).attr;
            list.push_back({rule.ifindex, rule.qinqId, numbers_of(rule)});
        }
        EXPECT_EQ(list, model.list);
        for (const ov_ifindex_t ifindex : INTERFACES) {
            const auto ids = model.ids(ifindex);
            EXPECT_EQ(ids_of(ifindex), ids);
            for (int id = 1; id <= 32; ++id)
                EXPECT_EQ(ov_app_gpon_qinq_id_is_taken(ifindex, uint16_t(id)),
                          std::ranges::count(ids, id) != 0);
        }
        EXPECT_EQ(rows(), model.rows.size());
        for (const auto& [key, svlan] : model.rows) {
            Row row = {};
            row.ifIndex = key.first;
            std::tie(row.opFlags, row.userVlanMin, row.userVlanMax, row.ethType, row.cos) =
                std::tuple_cat(key.second);
            const Row* there = find_stored_row(row);
            ASSERT_NE(there, nullptr);
            EXPECT_EQ(there->svlanId, svlan);
        }
        EXPECT_EQ(card_, model.card);
    }

    Model model;
    std::map<int, int> results; // how often each came

private:
    static inline const ov_ifindex_t INTERFACES[] = {port_at(1),    port_at(2),     onu_at(2, 1),
                                                     onu_at(2, 2),  onu_at(1, 128), port_at(3),
                                                     port_at(1, 4), onu_at(2, 1, 4)};

    void expect(int result, int expected, const char* what) {
        ASSERT_EQ(result, expected) << what;
        ++results[expected];
    }
    // The next operations meet another card, table or system.
    void change_world() {
        model.card_refuses = dice_.one_in(4);
        model.table_refuses = g_table_refuses = dice_.one_in(4);
        for (const int message : {PORT_RULE, ONU_RULE})
            chassis_.card_answers(message, model.card_refuses ? 1009 : 0);
        if (dice_.one_in(4)) {
            model.operational = !model.operational;
            set_operational(model.operational);
        }
    }
    // Few values, so that rules meet, and many on one port, so that ids run out.
    Rule any_rule() {
        static constexpr uint16_t BITS[] = {TSP,          VLAN, VLAN,       VLAN,        RANGE, ETHER,
                                            VLAN | ETHER, COS,  VLAN | COS, ETHER | COS, 1,     0,
                                            VLAN | RANGE};
        const ov_ifindex_t ifindex = dice_.one_in(2) ? INTERFACES[5] : INTERFACES[dice_.below(8)];
        Rule rule = rule_on(ifindex, BITS[dice_.below(std::size(BITS))], uint16_t(100 + dice_.below(2)));
        if (rule.opflag & (VLAN | RANGE))
            rule.user_vlan_min = uint16_t(1 + dice_.below(120));
        if (rule.opflag & RANGE || dice_.one_in(20))
            rule.user_vlan_max = uint16_t(rule.user_vlan_min + dice_.below(4));
        if (rule.opflag & ETHER)
            rule.ether_type = uint16_t(dice_.below(8));
        if (rule.opflag & COS)
            rule.cos = uint16_t(dice_.below(8));
        return rule;
    }
    Rule known_or(const Rule& other) {
        if (model.list.empty() || dice_.one_in(8))
            return other;
        const Held& held = model.list[dice_.below(model.list.size())];
        Rule rule = rule_on(held.ifindex, uint16_t(held.numbers[0]));
        rule.user_vlan_min = uint16_t(held.numbers[1]);
        rule.user_vlan_max = uint16_t(held.numbers[2]);
        rule.ether_type = uint16_t(held.numbers[3]);
        rule.cos = uint16_t(held.numbers[4]);
        return rule;
    }
    void delete_one(const Rule& rule) { expect(del(rule), model.del(rule), "delete"); }

    // A row that is there already would be changed, which isn't done.
    void write_row(const Rule& rule) {
        const bool has_range = (rule.opflag & RANGE) != 0;
        const bool is_rule =
            rule.opflag >= 2 && (!has_range || ov_ifindex_get_port_type(rule.ifindex) == PORT_TYPE_GPON);
        if (stored(rule) != nullptr || !is_rule)
            return;
        const bool refused = model.table_refuses;
        const bool written = write(row_of(rule));
        EXPECT_EQ(written, !refused && model.add(rule) == 0);
    }
    // Keeps what the card has taken.
    void follow_card() {
        for (const CardMessage& message : chassis_.messages()) {
            const Rule rule = message.record<Rule>();
            EXPECT_EQ(message.type,
                      ov_ifindex_get_port_type(rule.ifindex) == PORT_TYPE_GPON ? PORT_RULE : ONU_RULE);
            if (model.card_refuses)
                continue;
            if (message.mask == ADDED)
                card_[{rule.ifindex, rule.qinqId}] = numbers_of(rule);
            else
                card_.erase({rule.ifindex, rule.qinqId});
        }
        chassis_.forget_messages();
    }

    AppChassis& chassis_;
    Dice dice_;
    std::map<std::pair<ov_ifindex_t, int>, Numbers> card_;
};

TEST(QinqModel, ListIdsRowsAndCardAreWhatTheRulesSay) {
    qinq_test::run([](AppChassis& chassis) {
        Play play(chassis);
        for (int n = 0; n < 2400 && !testing::Test::HasFailure(); ++n) {
            play.step(n % 800 < 200);
            if (n % 10 == 0)
                play.compare();
        }
        play.compare();
        for (const int result : {0, 1000, 1001, 1002, 1005, CARD_REFUSED, CARD_REFUSED | 1000})
            EXPECT_GT(play.results[result], 0) << result;
    });
}

} // namespace
