#include "note_box.h"

#include <utility>

#include "share_log.h"

namespace OHOS::Pelago::Local {

NoteBox::NoteBox(std::shared_ptr<Context> context)
    : context_(std::move(context)), queue_(std::make_shared<ListenerQueue>(context_->activity, "share-notes")),
      reception_(context_, [this](const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body) {
          return OnNote(guest, type, body);
      })
{}

void NoteBox::Serve(LocalEngine::NoteListener listener)
{
    listener_ = std::make_shared<LocalEngine::NoteListener>(std::move(listener));
    if (reception_.IsOpen()) {
        return;
    }
    reception_.Open({[this](Host::UniqueFd& listening, std::string& error) {
                         return context_->folder.Serve(context_->device.id, NOTE_SUFFIX, listening, error);
                     },
        [this] { context_->folder.RemoveSocket(context_->device.id, NOTE_SUFFIX); },
        [](bool) {}}); // who cannot be reached is not touched: the log has said why
}

Reception::Verdict NoteBox::OnNote(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body)
{
    BodyReader reader(body);
    std::string from;
    std::string note;
    if (type != FrameType::NOTE || !reader.Text(from, MAX_LOCAL_DEVICE_ID) || !NearbyFolder::IsDeviceId(from) ||
        !reader.Text(note, MAX_NOTE_BYTES) || !reader.AtEnd()) {
        return Reception::Verdict::REFUSED;
    }
    guest->Send(FrameType::END, EncodeOutcome({Take(from, note), {}}));
    guest->Finish();
    return Reception::Verdict::TAKEN;
}

Ending NoteBox::Take(const std::string& from, const std::string& note)
{
    if (waiting_->load() >= MAX_WAITING_NOTES) {
        return Ending::BUSY;
    }
    ++*waiting_;
    std::shared_ptr<void> place(nullptr, [waiting = waiting_](void*) { --*waiting; }); // also of one that nobody reads
    queue_->Post([listener = listener_, place = std::move(place), from, note]() mutable {
        place.reset();
        (*listener)(from, note);
    });
    return Ending::DONE;
}

std::shared_ptr<Channel> NoteBox::ConnectTo(const std::string& deviceId)
{
    Host::UniqueFd socket;
    if (!NearbyFolder::IsDeviceId(deviceId) || letters_.size() >= MAX_WAITING_NOTES) {
        return nullptr;
    }
    ConnectResult result = context_->folder.Connect(deviceId, socket, NOTE_SUFFIX);
    if (result == ConnectResult::REFUSED) {
        context_->folder.RemoveStale(deviceId);
    }
    return result == ConnectResult::CONNECTED
               ? Channel::Open(context_->loop, std::move(socket), context_->config.unreadLimitMs)
               : nullptr;
}

void NoteBox::Send(const std::string& deviceId, const std::string& note, LocalEngine::NoteResult result)
{
    auto letter = std::make_shared<Letter>();
    letter->result = std::move(result);
    letter->channel = ConnectTo(deviceId);
    letters_.insert(letter);
    if (letter->channel == nullptr) {
        Conclude(letter, false);
        return;
    }
    std::weak_ptr<Letter> weak = letter;
    letter->channel->SetHandlers(
        [this, weak](FrameType type, std::string_view body, Host::UniqueFd) {
            auto outcome = type == FrameType::END ? DecodeOutcome(body) : std::nullopt;
            Conclude(weak.lock(), outcome.has_value() && outcome->ending == Ending::DONE);
        },
        [this, weak](const char*) { Conclude(weak.lock(), false); });
    letter->timer = context_->loop.After(NOTE_LIMIT_MS, [this, weak] { Conclude(weak.lock(), false); });
    letter->channel->Send(FrameType::NOTE, BodyWriter().Text(context_->device.id).Text(note).Bytes());
}

void NoteBox::Conclude(const std::shared_ptr<Letter>& letter, bool taken)
{
    if (letters_.erase(letter) == 0) {
        return;
    }
    context_->loop.CancelTimer(letter->timer);
    if (letter->channel != nullptr) {
        letter->channel->Close();
    }
    queue_->Post([result = std::move(letter->result), taken] { result(taken); });
}

void NoteBox::Drop()
{
    reception_.Close();
    for (const auto& letter : letters_) {
        context_->loop.CancelTimer(letter->timer);
        if (letter->channel != nullptr) {
            letter->channel->Close();
        }
    }
    letters_.clear();
}

} // namespace OHOS::Pelago::Local
