#ifndef COLLAB_LOCAL_NOTE_CARRIER_H
#define COLLAB_LOCAL_NOTE_CARRIER_H

#include <functional>
#include <string>

namespace OHOS::Synfold {

// How the stand-ins of two devices reach each other: short texts, from one device to another. Whoever makes the
// stand-in binds it to something that can, and hands what arrives to LocalCollab::OnNote. Any thread calls, with no
// lock held.
class NoteCarrier {
public:
    virtual ~NoteCarrier() = default;

    // Brings `note` to the device `peer`. `done` is called once, maybe before this returns: true when the peer's
    // stand-in has it, false when nobody is there, or has taken it in time. It may also be dropped uncalled, when
    // everything ends.
    virtual void Send(const std::string& peer, const std::string& note, std::function<void(bool taken)> done) = 0;
};

} // namespace OHOS::Synfold

#endif // COLLAB_LOCAL_NOTE_CARRIER_H
