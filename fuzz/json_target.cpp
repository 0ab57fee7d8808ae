// Texts of peers, applications and the framework: JSON, often in JSON, sometimes in that.
#include <array>
#include <string>

#include "collab_notes.h"
#include "device.h"
#include "host/json_text.h"
#include "local_collab.h"
#include "note_carrier.h"
#include "omnibind_utils.h"
#include "targets.h"

namespace OHOS::Pelago::Fuzz {
namespace {

constexpr int64_t A_TAP_ENDS_MS = 30'000;

void Preview(const std::string& text)
{
    std::string title = "title";
    std::string description;
    int32_t showMode = 0;
    OmnibindUtils::ParsePreviewExtraInfo(text, title, description, showMode);
    std::string icon = OmnibindUtils::GetIconFromPreviewData(text);
    std::string thumbnail = OmnibindUtils::GetThumbnailFromPreviewData(text);
    OmnibindUtils::MotionExtraInfo info{showMode, 1, thumbnail, title, description, icon, text, text, text};
    std::string shown = OmnibindUtils::GetMotionExtraInfoWithPreview(2, 3, info);
    Demand(Json::Parse(shown) != nullptr, "what is shown of a share is no JSON");
}

// What was read of a text is written and read to the same.
void Members(const std::string& text)
{
    const char* errorAt = nullptr;
    Json::Ptr json = Json::Parse(text, &errorAt);
    if (json == nullptr) {
        return;
    }
    auto number = Json::NumberMember(json.get(), "actionId");
    const char* name = Json::StringMember(json.get(), "serviceId");
    Json::Ptr copy = Json::NewObject();
    Json::Put(copy.get(), "actionId", number.value_or(0));
    Json::Put(copy.get(), "serviceId", name == nullptr ? "" : name);
    Json::Ptr again = Json::Parse(Json::PrintUnformatted(copy));
    Demand(again != nullptr && Json::NumberMember(again.get(), "actionId") == number.value_or(0),
        "a number is another one when it is read again");
    Demand(Json::StringMember(again.get(), "serviceId") == std::string(name == nullptr ? "" : name),
        "a text is another one when it is read again");
    Plant(Target::JSON, number.has_value() && name == nullptr);
}

void Event(const std::string& text)
{
    FuzzDevice::Instance().Collab().PublishEvent(text);
}

void Knock(const std::string& text)
{
    FuzzDevice::Instance().Collab().Knock();
    FuzzDevice::Instance().Collab().PublishEvent(text);
}

void Delivery(const std::string& text)
{
    FuzzDevice::Instance().Collab().Deliver(text);
}

// A peer's note, all the way to the service.
void Note(const std::string& text)
{
    (void)Synfold::ReadServiceReply(text); // an answer of a service stands in no note
    auto note = Synfold::ReadNote(text);
    if (!note.has_value()) {
        return;
    }
    switch (note->kind) {
        case Synfold::NoteKind::REQUEST:
            return Delivery(Synfold::RequestText(note->concurrentId, note->tap));
        case Synfold::NoteKind::NOTICE:
            return Delivery(Synfold::NotifyText(note->notifyInfo));
        case Synfold::NoteKind::REPLY:
            return Event(Synfold::PublishText("peer0", *note));
    }
}

// Nobody is there.
class NoCarrier : public Synfold::NoteCarrier {
public:
    void Send(const std::string&, const std::string&, std::function<void(bool)>) override
    {}
};

// The stand-in of the framework takes the note itself.
void StandIn(const std::string& text)
{
    auto collab = std::make_shared<Synfold::LocalCollab>(
        Synfold::CollabDevice{"id", "name", 14, "02:00:00:00:00:00"}, std::make_shared<NoCarrier>());
    (void)collab->Tap("peer0", [](Synfold::TapStep) {}); // so that a reply may belong to something
    collab->OnNote("peer0", text);
    FuzzDevice::Instance().Advance(0);
    collab->Close();
}

void Control(const std::string& text)
{
    std::string written = Host::Json::Object().PutRaw("raw", text).Put("text", text).Text();
    Demand(Json::Parse(written) != nullptr, "what the control answers is no JSON");
}

constexpr std::array<void (*)(const std::string&), 8> READERS{
    Preview, Members, Event, Knock, Delivery, Note, StandIn, Control};

} // namespace

// Which reader, and the text.
void PlayJson(Feed& feed)
{
    FuzzDevice& device = FuzzDevice::Instance();
    auto reader = READERS[feed.Below(READERS.size())];
    reader(std::string(feed.Rest()));
    device.Advance(0);
    if (reader != Preview && reader != Members && reader != Control) {
        device.Advance(A_TAP_ENDS_MS);
        device.EndInput();
    }
}

} // namespace OHOS::Pelago::Fuzz
