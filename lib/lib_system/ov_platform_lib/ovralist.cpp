#include "ovralist.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr int OK = 1;
constexpr int FAILED = -1;

using Entry = ovralist_entry_t;

size_t mid_position(size_t numels) {
    return (numels - 1) / 2;
}

void reset(ovralist_t& list) {
    list.head.next = &list.tail;
    list.tail.prev = &list.head;
    list.mid = &list.head;
    list.numels = 0;
    list.iterating = false;
    list.iterator_entry = nullptr;
}

// Moves mid, which stands at `position`, to where it belongs.
void settle_mid(ovralist_t& list, size_t position) {
    if (list.numels == 0) {
        list.mid = &list.head;
        return;
    }
    for (size_t target = mid_position(list.numels); position < target; position++)
        list.mid = list.mid->next;
    for (size_t target = mid_position(list.numels); position > target; position--)
        list.mid = list.mid->prev;
}

Entry* make_entry(const ovralist_t& list, const void* data) {
    if (list.copy_data && data == nullptr)
        return nullptr;
    std::unique_ptr<Entry> entry(new (std::nothrow) Entry);
    if (!entry)
        return nullptr;
    entry->data = const_cast<void*>(data);
    if (list.copy_data) {
        size_t size = list.meter(data);
        entry->data = malloc(std::max<size_t>(size, 1)); // extract_at's callers free it
        if (entry->data == nullptr)
            return nullptr;
        memcpy(entry->data, data, size);
        entry->owned = true;
    }
    return entry.release();
}

void free_entry(Entry* entry) {
    if (entry->owned)
        free(entry->data);
    delete entry;
}

// Puts the entry in front of `next`, which stands at `position`.
void link(ovralist_t& list, Entry* entry, Entry* next, size_t position) {
    entry->next = next;
    entry->prev = next->prev;
    next->prev->next = entry;
    next->prev = entry;

    size_t old_mid = list.numels > 0 ? mid_position(list.numels) : 0;
    list.numels++;
    if (list.numels == 1)
        list.mid = entry;
    else
        settle_mid(list, old_mid + (position <= old_mid ? 1 : 0));
}

// Takes the entry at `position` out of the chain.
void unlink(ovralist_t& list, Entry* entry, size_t position) {
    size_t at = mid_position(list.numels);
    if (list.mid == entry)
        list.mid = entry->next; // moves up to the same position
    else if (position < at)
        at--;
    if (list.iterator_entry == entry)
        list.iterator_entry = entry->next;

    entry->prev->next = entry->next;
    entry->next->prev = entry->prev;
    list.numels--;
    settle_mid(list, at);
}

// ---- merge sort on the forward links, which end with null --------------------------------------

class Order {
public:
    Order(element_comparator comparator, int direction) : comparator_(comparator), direction_(direction) {}
    // Whether b must stand in front of a.
    bool swapped(const Entry* a, const Entry* b) const {
        int sign = comparator_(a->data, b->data); // negative: a is the greater
        return direction_ > 0 ? sign < 0 : sign > 0;
    }

private:
    element_comparator comparator_;
    int direction_;
};

// `a` holds what stood in front of `b`: it goes first among equals.
Entry* merge(Entry* a, Entry* b, const Order& order) {
    Entry* first = nullptr;
    Entry** link = &first;
    while (a != nullptr && b != nullptr) {
        Entry*& front = order.swapped(a, b) ? b : a;
        Entry* taken = front;
        front = taken->next;
        *link = taken;
        link = &taken->next;
    }
    *link = a != nullptr ? a : b;
    return first;
}

Entry* merge_sort(Entry* chain, const Order& order) {
    std::array<Entry*, 64> runs{}; // run i is null or has 2^i entries; the higher, the farther in front
    while (chain != nullptr) {
        Entry* run = chain;
        chain = chain->next;
        run->next = nullptr;
        size_t i = 0;
        for (; runs[i] != nullptr; i++) {
            run = merge(runs[i], run, order);
            runs[i] = nullptr;
        }
        runs[i] = run;
    }
    Entry* sorted = nullptr;
    for (Entry* run : runs)
        sorted = merge(run, sorted, order);
    return sorted;
}

bool is_sorted(const ovralist_t& list, const Order& order) {
    for (const Entry* e = list.head.next; e->next != &list.tail; e = e->next) {
        if (order.swapped(e, e->next))
            return false;
    }
    return true;
}

// Hangs a forward chain of all entries between the sentinels again.
void relink(ovralist_t& list, Entry* chain) {
    Entry* last = &list.head;
    for (Entry* e = chain; e != nullptr; e = e->next) {
        last->next = e;
        e->prev = last;
        last = e;
    }
    last->next = &list.tail;
    list.tail.prev = last;
    list.mid = list.head.next;
    settle_mid(list, 0);
}

} // namespace

ovralist_t::ovralist_t() : comparator(nullptr), meter(nullptr), copy_data(false) {
    reset(*this);
}

ovralist_t::~ovralist_t() {
    ovralist_clear(this);
}

int ovralist_init(ovralist_t* list) {
    if (ovralist_clear(list) != OK)
        return FAILED;
    list->comparator = nullptr;
    list->meter = nullptr;
    list->copy_data = false;
    return OK;
}

void ovralist_destroy(ovralist_t* list) {
    ovralist_init(list);
}

int ovralist_clear(ovralist_t* list) {
    if (list == nullptr)
        return FAILED;
    for (Entry* e = list->head.next; e != &list->tail;) {
        Entry* next = e->next;
        free_entry(e);
        e = next;
    }
    reset(*list);
    return OK;
}

int ovralist_attributes_copy(ovralist_t* list, element_meter meter, int copy_data) {
    if (list == nullptr || (meter == nullptr && copy_data != 0))
        return FAILED;
    list->meter = meter;
    list->copy_data = copy_data != 0;
    return OK;
}

int ovralist_attributes_comparator(ovralist_t* list, element_comparator comparator) {
    if (list == nullptr)
        return FAILED;
    list->comparator = comparator;
    return OK;
}

size_t ovralist_size(const ovralist_t* list) {
    return list != nullptr ? list->numels : 0;
}

int ovralist_append(ovralist_t* list, const void* data) {
    return ovralist_insert_at(list, data, ovralist_size(list));
}

int ovralist_insert_at(ovralist_t* list, const void* data, size_t position) {
    if (list == nullptr || position > list->numels)
        return FAILED;
    Entry* entry = make_entry(*list, data);
    if (entry == nullptr)
        return FAILED;
    Entry* next = position == list->numels ? &list->tail : ovralist_findpos(list, position);
    link(*list, entry, next, position);
    return OK;
}

int ovralist_delete_at(ovralist_t* list, size_t position) {
    Entry* entry = ovralist_findpos(list, position);
    if (entry == nullptr)
        return FAILED;
    unlink(*list, entry, position);
    free_entry(entry);
    return OK;
}

void* ovralist_extract_at(ovralist_t* list, size_t position) {
    Entry* entry = ovralist_findpos(list, position);
    if (entry == nullptr)
        return nullptr;
    unlink(*list, entry, position);
    void* data = entry->data;
    delete entry;
    return data;
}

ovralist_entry_t* ovralist_findpos(ovralist_t* list, size_t position) {
    if (list == nullptr || position >= list->numels)
        return nullptr;
    const size_t last = list->numels - 1;
    const size_t middle = mid_position(list->numels);

    Entry* entry = list->mid;
    size_t at = middle;
    if (position < middle / 2) {
        entry = list->head.next;
        at = 0;
    } else if (position > middle + (last - middle) / 2) {
        entry = list->tail.prev;
        at = last;
    }
    for (; at < position; at++)
        entry = entry->next;
    for (; at > position; at--)
        entry = entry->prev;
    return entry;
}

ptrdiff_t ovralist_locate(const ovralist_t* list, const void* data) {
    if (list == nullptr)
        return -1;
    ptrdiff_t position = 0;
    for (const Entry* e = list->head.next; e != &list->tail; e = e->next, position++) {
        bool equal = list->comparator != nullptr ? list->comparator(e->data, data) == 0 : e->data == data;
        if (equal)
            return position;
    }
    return -1;
}

int ovralist_sort(ovralist_t* list, int direction) {
    if (list == nullptr || list->comparator == nullptr || (direction != 1 && direction != -1))
        return FAILED;
    list->iterating = false;
    list->iterator_entry = nullptr;
    Order order(list->comparator, direction);
    // Rows that come from a table are in order already.
    if (list->numels < 2 || is_sorted(*list, order))
        return OK;
    list->tail.prev->next = nullptr;
    relink(*list, merge_sort(list->head.next, order));
    return OK;
}

int ovralist_iterator_start(ovralist_t* list) {
    if (list == nullptr || list->iterating)
        return FAILED;
    list->iterating = true;
    list->iterator_entry = list->head.next;
    return OK;
}

int ovralist_iterator_hasnext(const ovralist_t* list) {
    return list != nullptr && list->iterating && list->iterator_entry != &list->tail ? 1 : 0;
}

void* ovralist_iterator_next(ovralist_t* list) {
    if (ovralist_iterator_hasnext(list) == 0)
        return nullptr;
    Entry* entry = list->iterator_entry;
    list->iterator_entry = entry->next;
    return entry->data;
}

int ovralist_iterator_stop(ovralist_t* list) {
    if (list == nullptr || !list->iterating)
        return FAILED;
    list->iterating = false;
    list->iterator_entry = nullptr;
    return OK;
}
