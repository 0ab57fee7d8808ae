#ifndef PELAGO_DISCOVERY_HASH_INDEX_H
#define PELAGO_DISCOVERY_HASH_INDEX_H

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace OHOS::Pelago {

// Finds things by a text that they know themselves: an open table of hashes and things, no keys. So a look-up among ten
// thousand touches one line of memory before it touches what it was looking for, where chained tables touch four.
// `Thing` is cheap to copy and outlives its place here. Owned by the container that it serves; no lock, one thread at a
// time. It does not know whether a thing really has the text that was asked for: whoever asks must look.
template <typename Thing>
class HashIndex {
public:
    // The same pair may be added more than once, and is then there as often.
    void Add(std::string_view text, Thing thing)
    {
        if ((used_ + 1) * 4 > slots_.size() * 3) {
            Grow();
        }
        Put({HashOf(text), thing});
        ++used_;
    }

    // Removes one such pair, if there is one.
    void Remove(std::string_view text, Thing thing)
    {
        if (slots_.empty()) {
            return;
        }
        const size_t hash = HashOf(text);
        for (size_t place = hash & Mask(); slots_[place].hash != FREE; place = Next(place)) {
            if (slots_[place].hash == hash && slots_[place].thing == thing) {
                --used_;
                Close(place);
                return;
            }
        }
    }

    // Calls `visit` with each thing that was added under this text, and with any whose text has the same hash.
    template <typename Visit>
    void ForEach(std::string_view text, Visit&& visit) const
    {
        if (slots_.empty()) {
            return;
        }
        const size_t hash = HashOf(text);
        for (size_t place = hash & Mask(); slots_[place].hash != FREE; place = Next(place)) {
            if (slots_[place].hash == hash) {
                visit(slots_[place].thing);
            }
        }
    }

    void Clear()
    {
        slots_.clear();
        used_ = 0;
    }

    size_t Size() const
    {
        return used_;
    }

private:
    static constexpr size_t FREE = 0;
    static constexpr size_t FIRST_SIZE = 16;

    struct Slot {
        size_t hash = FREE;
        Thing thing{};
    };

    static size_t HashOf(std::string_view text)
    {
        const size_t hash = std::hash<std::string_view>()(text);
        return hash == FREE ? FREE + 1 : hash;
    }
    size_t Mask() const
    {
        return slots_.size() - 1; // the size is a power of two
    }
    size_t Next(size_t place) const
    {
        return (place + 1) & Mask();
    }

    void Put(const Slot& slot)
    {
        size_t place = slot.hash & Mask();
        while (slots_[place].hash != FREE) {
            place = Next(place);
        }
        slots_[place] = slot;
    }

    void Grow()
    {
        std::vector<Slot> old(slots_.empty() ? FIRST_SIZE : slots_.size() * 2);
        old.swap(slots_);
        for (const Slot& slot : old) {
            if (slot.hash != FREE) {
                Put(slot);
            }
        }
    }

    // Frees a place and moves up those behind it that would no longer be found.
    void Close(size_t gap)
    {
        for (size_t place = Next(gap); slots_[place].hash != FREE; place = Next(place)) {
            const size_t wanted = slots_[place].hash & Mask();
            if (((place - wanted) & Mask()) >= ((place - gap) & Mask())) {
                slots_[gap] = slots_[place];
                gap = place;
            }
        }
        slots_[gap] = Slot();
    }

    std::vector<Slot> slots_; // at least a quarter is free
    size_t used_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_HASH_INDEX_H
