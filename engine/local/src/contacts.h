#ifndef PELAGO_ENGINE_LOCAL_CONTACTS_H
#define PELAGO_ENGINE_LOCAL_CONTACTS_H

#include <map>
#include <string>

#include "contact_info.h"

namespace OHOS::Pelago::Local {

// Which contact an account belongs to, as a file of the device says: an object from account hash to
// {"id": 7, "name": "Ada", "avatar": "..."}; the avatar may be missing.
// One thread. It does not watch the file.
class Contacts {
public:
    // Reads the file anew. A missing one is empty. A malformed one, or entry, is left out with a debug line.
    void Load(const std::string& path);
    // The contact, or one with id 0.
    [[nodiscard]] ContactInfo Of(const std::string& accountHash) const;

private:
    std::map<std::string, ContactInfo> byHash_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_CONTACTS_H
