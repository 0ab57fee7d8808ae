#ifndef PELAGO_DISCOVERY_INDEXED_MAP_H
#define PELAGO_DISCOVERY_INDEXED_MAP_H

#include <map>
#include <string>

#include "discovery/hash_index.h"

namespace OHOS::Pelago {

// A map from strings in byte order, with an index beside it: walks see the order, look-ups cost the same however many
// keys there are. Owned by its class; no lock, one thread at a time. Values stay where they are until they are erased.
template <typename Value>
class IndexedMap {
public:
    using Map = std::map<std::string, Value>;

    IndexedMap() = default;
    IndexedMap(const IndexedMap&) = delete;
    IndexedMap& operator=(const IndexedMap&) = delete;

    // The value of `key`, null when there is none.
    Value* Find(const std::string& key)
    {
        const auto place = PlaceOf(key);
        return place == map_.end() ? nullptr : &place->second;
    }

    // The value of `key`, made by default when there is none.
    Value& operator[](const std::string& key)
    {
        auto place = PlaceOf(key);
        if (place == map_.end()) {
            place = map_.try_emplace(key).first;
            index_.Add(key, place);
        }
        return place->second;
    }

    // False when there was nothing to erase.
    [[nodiscard]] bool Erase(const std::string& key)
    {
        const auto place = PlaceOf(key);
        if (place == map_.end()) {
            return false;
        }
        index_.Remove(key, place);
        map_.erase(place);
        return true;
    }

    void Clear()
    {
        index_.Clear();
        map_.clear();
    }

    size_t Size() const
    {
        return map_.size();
    }

    const Map& All() const
    {
        return map_;
    }

private:
    typename Map::iterator PlaceOf(const std::string& key)
    {
        auto found = map_.end();
        index_.ForEach(key, [&](typename Map::iterator place) {
            if (place->first == key) {
                found = place;
            }
        });
        return found;
    }

    Map map_;
    HashIndex<typename Map::iterator> index_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_INDEXED_MAP_H
