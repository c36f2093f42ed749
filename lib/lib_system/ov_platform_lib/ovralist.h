// The daemon's list: doubly linked, of pointers or of copies, with positions, sorting and one iterator
// session at a time.
//
// A list belongs to one thread at a time. Positions count from 0. Functions that can fail return 1 for
// success and -1 for failure (a null list, a position out of range, no memory), and a failed call leaves
// the list as it was.
//
//   ovralist_t rows;
//   ovralist_init(&rows);
//   sTcontTableClass_QBC(&key, 3, 1, &rows, nullptr, nullptr);
//   ovralist_iterator_start(&rows);
//   while (ovralist_iterator_hasnext(&rows))
//       use(static_cast<sTcontTable_entry*>(ovralist_iterator_next(&rows)));
//   ovralist_iterator_stop(&rows);
//   ovralist_destroy(&rows);
#pragma once

#include <cstddef>

// 0 when a and b are equal, negative when a is the greater, positive when a is the smaller: the reverse
// of qsort's sign.
typedef int (*element_comparator)(const void* a, const void* b);
// The size of an element in bytes.
typedef size_t (*element_meter)(const void* element);

struct ovralist_entry_t {
    void* data = nullptr;
    ovralist_entry_t* next = nullptr;
    ovralist_entry_t* prev = nullptr;
    bool owned = false; // data is the list's own copy
};

struct ovralist_t {
    ovralist_t();
    ~ovralist_t();
    ovralist_t(const ovralist_t&) = delete;
    ovralist_t& operator=(const ovralist_t&) = delete;

    // Fields are for the list's functions; read the number of elements with ovralist_size.
    ovralist_entry_t head; // sentinel in front of the first element
    ovralist_entry_t tail; // sentinel behind the last
    ovralist_entry_t* mid; // the element at (numels - 1) / 2; the head sentinel of an empty list
    size_t numels;

    element_comparator comparator;
    element_meter meter;
    bool copy_data;

    bool iterating;
    ovralist_entry_t* iterator_entry; // what ovralist_iterator_next gives next
};

// Makes the list empty and without attributes. Elements it still holds are let go as in ovralist_clear.
int ovralist_init(ovralist_t* list);
// The same; the list can be used again after ovralist_init.
void ovralist_destroy(ovralist_t* list);
// Takes all elements out and frees those that are the list's copies. Attributes stay.
int ovralist_clear(ovralist_t* list);

// copy_data 1: elements added from now on are copied, meter giving their size, and the copies are freed
// when they leave the list. 0: the list keeps the caller's pointers. Copying without a meter is refused.
int ovralist_attributes_copy(ovralist_t* list, element_meter meter, int copy_data);
// The order of ovralist_sort and the equality of ovralist_locate; null takes it away.
int ovralist_attributes_comparator(ovralist_t* list, element_comparator comparator);

size_t ovralist_size(const ovralist_t* list);

// Adds behind the last element, or in front of the element at `position` (the number of elements is the
// place behind the last). A list that copies refuses null.
int ovralist_append(ovralist_t* list, const void* data);
int ovralist_insert_at(ovralist_t* list, const void* data, size_t position);

// Takes the element at `position` out, freeing a copy.
int ovralist_delete_at(ovralist_t* list, size_t position);
// Takes the element out and gives it to the caller, who frees a copy with free(). Null when out of range.
void* ovralist_extract_at(ovralist_t* list, size_t position);

// The entry at `position`, valid until it is taken out; null when out of range. Walks from the nearest of
// the first, the middle and the last element.
ovralist_entry_t* ovralist_findpos(ovralist_t* list, size_t position);
// The position of the first element that equals data (by the comparator, or without one the same
// pointer), or -1.
ptrdiff_t ovralist_locate(const ovralist_t* list, const void* data);

// Sorts by the comparator in O(n log n); equal elements keep their order. direction 1 puts the smallest
// first, -1 the greatest; any other value, or a list without comparator, is refused. Ends an iterator
// session.
int ovralist_sort(ovralist_t* list, int direction);

// The iterator session, from the first element to the last. The list has one: starting it again before
// it is stopped is refused. Elements may be added and taken out meanwhile: the session goes on with what
// was to come next, or its successor when that was taken out. Without a session hasnext gives 0 and next
// null, as they do at the end.
int ovralist_iterator_start(ovralist_t* list);
int ovralist_iterator_hasnext(const ovralist_t* list);
void* ovralist_iterator_next(ovralist_t* list);
int ovralist_iterator_stop(ovralist_t* list);
