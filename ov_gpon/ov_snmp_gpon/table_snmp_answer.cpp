#include "table_snmp_answer.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "agentx_query.h"
#include "ov_clock.h"
#include "table_record.h"
#include "table_snmp_areas.h"
#include "table_snmp_request.h"
#include "table_snmp_value.h"

namespace {

using Kind = SnmpArea::Kind;

// Variables of a GetBulk, those of its repetitions; the library has the same limit.
constexpr size_t MAX_REPEATED = 100;
// A GetBulk that has taken as long isn't repeated any further, as it may end early (RFC 3416, 4.2.3).
constexpr std::chrono::milliseconds LONG_ENOUGH(50);
// Bytes of a Response beyond which it is left to the library, which knows how long one may be.
constexpr size_t MAX_ANSWER = 60000;

// One variable on the way to where it is.
struct Search {
    enum class State : uint8_t { SEARCHING, FOUND, DONE };

    AgentxName name; // the place to begin at, and then the variable's
    AgentxArcs end;  // empty: there is none
    bool may_be_name = false;
    size_t slot = 0;
    size_t area = 0;
    bool at_beginning = false; // of the area: what was asked for stands before it
    State state = State::SEARCHING;
    bool has_turn = false; // in this round
    bool is_over = false;  // nothing is behind it any more
    unsigned column = 0;
    SnmpRowKey key{};
    const void* row = nullptr;
};

// A place in a table: a column, and as many numbers of an index as are given there.
struct Place {
    unsigned column = 0;
    SnmpRowKey key{};
    size_t given = 0;
};

std::vector<Search> g_searches; // only grows: made once
std::vector<Search*> g_found;   // in one table

class Answering {
public:
    Answering(const AgentxQuery& query, AgentxAnswer& answer)
        : query_(query), answer_(answer), areas_(snmp_areas()) {}

    // False if the library is to do it.
    bool run(AgentxPdu& response);

private:
    bool get();
    bool get_next();
    bool repeat();
    void begin();
    bool advance(std::span<Search> searches);
    bool serve_one_table(std::span<Search> searches, size_t area);
    bool serve_all(std::span<Search> searches);
    bool find_area(Search& search);
    bool step_out(Search& search);
    void find_named(const TableModule& module, Search& search);
    bool find_next(const TableModule& module, Search& search);
    void refresh(TableModule& module);
    void answer_found(const TableModule& module);
    void add(Search& search, const AgentxValue& value);
    void add_exception(Search& search, int type) {
        add(search, {.type = static_cast<uint16_t>(type), .number = 0, .bytes = {}});
    }
    bool is_get() const { return query_.header().type == AgentxPduType::GET; }

    const AgentxQuery& query_;
    AgentxAnswer& answer_;
    std::span<const SnmpArea> areas_;
    size_t likely_area_ = 0;
    size_t count_ = 0;
    size_t slots_ = 0;
};

// ---- places ------------------------------------------------------------------------------------------

// Where a name leads that lies `below` a table: behind the table's entry come column and index. Column 0 is
// none.
Place place_of(const TableDesc& desc, AgentxArcs below) {
    Place place{.column = static_cast<unsigned>(desc.min_column()), .key = {}, .given = 0};
    if (!below.empty() && below[0] > 1)
        return {}; // behind the entry
    if (below.size() < 2 || below[0] < 1 || below[1] < place.column)
        return place;
    place.column = below[1];
    const AgentxArcs index = below.subspan(2);
    place.given = index.size();
    std::copy_n(index.begin(), std::min(index.size(), desc.index.size()), place.key.begin());
    return place;
}

bool is_registered(const TableDesc& desc, unsigned column) {
    return column >= static_cast<unsigned>(desc.min_column()) &&
           column <= static_cast<unsigned>(desc.max_column());
}

AgentxArcs below_table(const Search& search, const SnmpArea& area) {
    return search.at_beginning ? AgentxArcs() : search.name.arcs().subspan(area.start.size());
}

void name_variable(const TableModule& module, const SnmpArea& area, Search& search) {
    search.name = area.start;
    search.name.append(1); // the entry
    search.name.append(search.column);
    for (size_t i = 0; i < module.desc().index.size(); i++) {
        search.key[i] = record_get<uint32_t>(search.row, module.desc().index[i].offset);
        search.name.append(search.key[i]);
    }
}

bool is_behind(AgentxArcs name, AgentxArcs end) {
    return !end.empty() && agentx_compare(name, end) >= 0;
}

// ---- finding -----------------------------------------------------------------------------------------

// The area to begin in. False if the library is to do it.
bool Answering::find_area(Search& search) {
    search.area = likely_area_ = snmp_area_from(areas_, search.name.arcs(), likely_area_);
    search.at_beginning =
        search.area == areas_.size() || agentx_compare(search.name.arcs(), areas_[search.area].start) < 0;
    if (search.area < areas_.size() && areas_[search.area].kind == Kind::TABLE)
        return true;
    if (is_get() || (search.area < areas_.size() && areas_[search.area].kind == Kind::FOREIGN))
        return false;
    return step_out(search);
}

// Goes on to the next table, if the range goes as far. False if the library is to do it.
bool Answering::step_out(Search& search) {
    search.at_beginning = true;
    do
        search.area += search.area < areas_.size() ? 1 : 0;
    while (search.area < areas_.size() && areas_[search.area].kind == Kind::EMPTY);
    if (search.area == areas_.size() || is_behind(areas_[search.area].start, search.end))
        add_exception(search, SNMP_ENDOFMIBVIEW);
    else if (areas_[search.area].kind == Kind::FOREIGN)
        return false;
    return true;
}

// The variable of this very name.
void Answering::find_named(const TableModule& module, Search& search) {
    const TableDesc& desc = module.desc();
    const AgentxArcs below = below_table(search, areas_[search.area]);
    if (below.size() < 2 || below[0] != 1 || !is_registered(desc, below[1]))
        return add_exception(search, SNMP_NOSUCHOBJECT);
    const Place place = place_of(desc, below);
    search.column = place.column;
    search.key = place.key;
    search.row = place.given == desc.index.size() ? row_get(module.did(), search.key.data()) : nullptr;
    if (search.row == nullptr)
        return add_exception(search, SNMP_NOSUCHINSTANCE);
    search.state = Search::State::FOUND;
}

// The variable behind this place in the table; false for none.
bool Answering::find_next(const TableModule& module, Search& search) {
    const TableDesc& desc = module.desc();
    Place place = place_of(desc, below_table(search, areas_[search.area]));
    if (!is_registered(desc, place.column))
        return false;
    search.row = nullptr;
    if (search.may_be_name && place.given == desc.index.size() &&
        snmp_readable_column(desc, place.column) != nullptr)
        search.row = row_get(module.did(), place.key.data());
    if (search.row == nullptr)
        search.row = snmp_next_variable(module, place.column, place.key, place.given);
    if (search.row == nullptr)
        return false;
    search.column = place.column;
    const AgentxName asked = search.name;
    name_variable(module, areas_[search.area], search);
    search.state = Search::State::FOUND;
    if (is_behind(search.name.arcs(), search.end)) {
        search.name = asked;
        add_exception(search, SNMP_ENDOFMIBVIEW);
    }
    return true;
}

// ---- answering ---------------------------------------------------------------------------------------

void Answering::add(Search& search, const AgentxValue& value) {
    answer_.add(search.slot, search.name.arcs(), value);
    search.is_over = value.type == SNMP_ENDOFMIBVIEW;
    search.state = Search::State::DONE;
}

// Refreshes the first row that was found, by all columns that are asked for.
void Answering::refresh(TableModule& module) {
    if (g_found.empty() || !snmp_has_get_chain(module))
        return;
    MIB_Flags_t columns{};
    for (const Search* search : g_found)
        mib_flag_set(columns, search->column);
    snmp_refresh_row(module, g_found.front()->row, columns);
    for (Search* search : g_found)
        search->row = row_get(module.did(), search->key.data());
}

void Answering::answer_found(const TableModule& module) {
    for (Search* search : g_found) {
        const ColumnDesc* column = snmp_readable_column(module.desc(), search->column);
        if (search->row == nullptr) {
            add_exception(*search, SNMP_NOSUCHINSTANCE);
        } else if (column == nullptr) {
            add_exception(*search, SNMP_NOSUCHOBJECT);
        } else {
            const SnmpValue value = snmp_value(module, *column, search->row);
            add(*search, {.type = value.type, .number = value.number, .bytes = value.bytes});
        }
    }
}

// All that stand in the table of this area. False if the library is to do it.
bool Answering::serve_one_table(std::span<Search> searches, size_t area) {
    TableModule& module = *areas_[area].module;
    OvraMutexGuard lock(getMutex(module.did()));
    g_found.clear();
    for (Search& search : searches) {
        if (!search.has_turn || search.area != area)
            continue;
        search.has_turn = false;
        if (is_get())
            find_named(module, search);
        else if (!find_next(module, search) && !step_out(search))
            return false;
        if (search.state == Search::State::FOUND)
            g_found.push_back(&search);
    }
    setOpOwnerSnmp(module.did());
    refresh(module);
    answer_found(module);
    clearOpOwnerSnmp(module.did());
    return true;
}

// Table by table, each with all that stand there, until all have an answer. What a table hasn't goes on to
// the next one, and has its turn there in the next round.
bool Answering::serve_all(std::span<Search> searches) {
    for (bool is_left = true; is_left;) {
        is_left = false;
        for (Search& search : searches) {
            search.has_turn = search.state == Search::State::SEARCHING;
            is_left = is_left || search.has_turn;
        }
        for (const Search& search : searches) {
            if (search.has_turn && !serve_one_table(searches, search.area))
                return false;
        }
    }
    return true;
}

bool Answering::advance(std::span<Search> searches) {
    for (Search& search : searches) {
        search.state = Search::State::SEARCHING;
        if (!find_area(search))
            return false;
    }
    return serve_all(searches);
}

void Answering::begin() {
    const auto ranges = query_.ranges();
    if (g_searches.size() < ranges.size())
        g_searches.resize(ranges.size());
    for (size_t i = 0; i < ranges.size(); i++) {
        g_searches[i].name = ranges[i].start;
        g_searches[i].end = ranges[i].end.arcs();
        g_searches[i].may_be_name = ranges[i].includes_start;
        g_searches[i].slot = i;
    }
    count_ = query_.repetitions() == 0 ? query_.unrepeated() : ranges.size();
    slots_ = count_;
}

bool finds_nothing(std::span<const Search> searches) {
    return std::all_of(searches.begin(), searches.end(), [](const Search& search) { return search.is_over; });
}

// The repetitions of a GetBulk behind the first, until none finds anything any more.
bool Answering::repeat() {
    const size_t repeated = count_ - query_.unrepeated();
    const std::span searches(g_searches.data() + query_.unrepeated(), repeated);
    const size_t repetitions = repeated == 0 ? 0 : std::min(query_.repetitions(), MAX_REPEATED / repeated);
    const auto until = ov_mono_now() + LONG_ENOUGH;
    for (size_t n = 1; n < repetitions && !finds_nothing(searches) && ov_mono_now() < until; n++) {
        for (Search& search : searches) {
            search.slot += repeated;
            search.may_be_name = false;
        }
        if (!advance(searches))
            return false;
        slots_ += repeated;
    }
    return true;
}

bool Answering::run(AgentxPdu& response) {
    begin();
    if (!advance({g_searches.data(), count_}) || !repeat() || answer_.size() > MAX_ANSWER)
        return false;
    answer_.finish(slots_, response);
    return true;
}

} // namespace

bool table_snmp_answer(std::span<const uint8_t> request, AgentxPdu& response) {
    static AgentxQuery query;
    static AgentxAnswer answer;
    if (snmp_get_do_debugging() != 0 || !query.read(request))
        return false;
    answer.begin(query);
    return Answering(query, answer).run(response);
}
