// The objects of one kind of QoS: the application's working copies, in the order of their keys (a profile's
// id, a binding's interface index).
//
//     for (const ov_app_onu_qos_s& qos : g_onu_qos_list) ...
//
// A look-up costs by the logarithm of their number. An object stays where it is until it is taken out. Main
// loop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

template <typename Object>
class QosList {
    using Objects = std::map<uint32_t, std::unique_ptr<Object>>;

public:
    template <typename Iterator, typename Reference>
    class Walk {
    public:
        explicit Walk(Iterator at) : at_(at) {}
        Reference operator*() const { return *at_->second; }
        Walk& operator++() {
            ++at_;
            return *this;
        }
        bool operator==(const Walk& other) const { return at_ == other.at_; }
        bool operator!=(const Walk& other) const { return at_ != other.at_; }

    private:
        Iterator at_;
    };
    using iterator = Walk<typename Objects::iterator, Object&>;
    using const_iterator = Walk<typename Objects::const_iterator, const Object&>;

    iterator begin() { return iterator(objects_.begin()); }
    iterator end() { return iterator(objects_.end()); }
    const_iterator begin() const { return const_iterator(objects_.begin()); }
    const_iterator end() const { return const_iterator(objects_.end()); }
    // The first object at or behind a key.
    iterator at_or_above(uint32_t key) { return iterator(objects_.lower_bound(key)); }

    size_t size() const { return objects_.size(); }
    // Null for none.
    Object* find(uint32_t key) const {
        const auto found = objects_.find(key);
        return found != objects_.end() ? found->second.get() : nullptr;
    }
    // Takes an object over. False when there is one with this key already; then it stays the caller's.
    bool take(uint32_t key, Object* object) {
        if (find(key) != nullptr)
            return false;
        objects_[key].reset(object);
        return true;
    }
    // Takes an object out and ends it; nothing is done for a key that isn't there.
    void drop(uint32_t key) { objects_.erase(key); }

private:
    Objects objects_;
};
