#include "front_end.h"

#include <cstdlib>
#include <utility>

#include "hilog/host_text.h"
#include "host/json_text.h"
#include "output.h"

// The reference for whoever writes the real one.
namespace OHOS::Pelago::Tools {
namespace {

using AAFwk::Want;
using Host::EscapeForTerminal;
using Host::Json;

constexpr const char* SHARE_ABILITY = "ShareServiceExtension";
constexpr const char* API_ABILITY = "CorvaneShareApiServiceExtension";
constexpr const char* PERMISSION_ABILITY = "PermissionServiceExtension";
constexpr const char* SWING_SEND_ABILITY = "SwingSendConfirmDialogService";
constexpr const char* SWING_RECEIVE_ABILITY = "SwingReceiveConfirmDialogService";

constexpr int32_t STATE_ON = 1;
constexpr int32_t TYPE_LASTING = 2;
constexpr int32_t PERMISSION_ON = 1;
constexpr int32_t REASON_USER = 1;
constexpr int32_t SWING_GOES_ON = 1;
constexpr int32_t SWING_ENDS = 0;

const char* TextOf(Answer answer)
{
    switch (answer) {
        case Answer::AGREE:
            return "agreed";
        case Answer::DECLINE:
            return "declined";
        case Answer::IGNORE:
            return "left unanswered";
    }
    return "";
}

class Extension : public Host::ExtensionStub {
public:
    Extension(
        const ExtensionOptions& options, bool json, FrontEnd frontEnd, int directory, std::shared_ptr<Outcome> outcome)
        : options_(options), json_(json), frontEnd_(std::move(frontEnd)), directory_(directory),
          outcome_(std::move(outcome))
    {}

protected:
    void OnStart(const Want& want) override;
    sptr<IRemoteObject> OnConnect(const Want& want) override
    {
        Note("connected", want.GetElement().GetAbilityName(), "the service connects to ");
        return this;
    }

private:
    // One row for everything that the service starts the extension for.
    struct IntentRow {
        const char* ability;
        const char* key;
        const char* intent;
        void (Extension::*show)(const Want& want);
    };
    static const IntentRow INTENTS[];

    ITrellisService& Service() const
    {
        return *frontEnd_.extension.service.GetRefPtr();
    }

    // One line for people, one object for programs.
    void Show(const std::string& line, const Json& json) const
    {
        if (json_) {
            PrintJson(json.Text());
        } else {
            Say(line);
        }
    }
    void Note(const char* kind, const std::string& what, const std::string& talk) const
    {
        Json json = Json::Object();
        json.Put("notification", kind).Put("what", what);
        Show(talk + EscapeForTerminal(what), json);
    }

    // Shows a dialog and what was answered; true when its user agreed.
    bool Ask(const char* dialog, const std::string& question, Answer answer) const
    {
        Json json = Json::Object();
        json.Put("dialog", dialog).Put("answer", TextOf(answer));
        Show("dialog: " + question + " " + TextOf(answer), json);
        return answer == Answer::AGREE;
    }
    // How a dialog ended for those who wait for one.
    void Tell(Answer answer, bool taken) const
    {
        if (!taken) {
            Complain("the service did not take the answer; see: pelago log");
        }
        if (answer != Answer::IGNORE) {
            outcome_->Set(taken ? EXIT_DONE : EXIT_FAILED);
        }
    }

    // Whoever agrees lets the account be seen too; then the same request again, this time without the question. Whoever
    // declines asks for nothing, and is asked again the next time.
    void AskFirstUse(const Want& want)
    {
        bool taken = true;
        if (Ask("firstUse", "share with devices nearby, and be seen by your contacts?", options_.firstUse)) {
            taken = Service().SetShareAccountPermission(PERMISSION_ON) &&
                    frontEnd_.tile.service->SetShareEnable(STATE_ON, want.GetIntParam("detectableType", 0), false);
        }
        Tell(options_.firstUse, taken);
    }
    void AskForRadios(const Want& want)
    {
        bool taken = true;
        if (Ask("openWifiAndBluetooth", "switch on Wi-Fi and Bluetooth for sharing?", options_.confirm)) {
            taken = frontEnd_.tile.service->SetShareEnableWithConfirm(
                STATE_ON, want.GetIntParam("detectableType", 0), false, false);
        }
        Tell(options_.confirm, taken);
    }
    // After a tap while sharing is off. As a press on the tile: the usual questions are asked where they are due.
    void OfferToEnable(const Want&)
    {
        bool taken = true;
        if (Ask("nudgeEnableShare", "a tap needs sharing: switch it on?", options_.confirm)) {
            taken = frontEnd_.tile.service->SetShareEnable(STATE_ON, TYPE_LASTING, true);
        }
        Tell(options_.confirm, taken);
    }
    void AskForSwing(const Want& want)
    {
        ShareDeviceInfo device;
        device.deviceId = want.GetStringParam("deviceId");
        const std::string name = EscapeForTerminal(want.GetStringParam("senderName"));
        const bool goesOn = Ask("swingSendConfirm", "send it to " + name + "?", options_.confirm);
        const bool taken =
            options_.confirm == Answer::IGNORE || Service().SwingConfirm(device, goesOn ? SWING_GOES_ON : SWING_ENDS);
        Tell(options_.confirm, taken);
    }

    void ShowTip(const Want& want)
    {
        Note("show_tip", want.GetStringParam("uiType"), "tip: ");
    }
    void ShowNudgeFailure(const Want& want)
    {
        Note("nudgeConnectFail", std::to_string(want.GetIntParam("connectErrCode", 0)), "the tap failed, error ");
    }
    void ShowComponent(const Want& want)
    {
        Note("switchNotifyComponent", std::to_string(want.GetIntParam("notifyComponent", 0)), "to be shown by ");
    }
    void ShowSends(const Want&)
    {
        Note("send_notification", "a client registered", "sends may follow: ");
    }
    void BeReady(const Want&)
    {
        Note("preStartHap", "an offer may follow", "started early: ");
    }
    // The offer itself comes as one: there it is answered.
    void ShowSwing(const Want& want)
    {
        Note("swingReceiveConfirm", want.GetStringParam("senderName"), "swung here by ");
    }
    void CloseSwingDialog(const Want& want)
    {
        Note("closed", want.GetElement().GetAbilityName(), "closed: ");
    }

    void TakeOffer(const Want& want)
    {
        const std::string preview = Service().GetPreviewData(); // empty when the offer has none
        const std::string sender = want.GetStringParam("senderName");
        const int files = want.GetIntParam("fileCount", want.GetIntParam("count", 0)); // by the kind of the offer
        Json json = Json::Object();
        json.Put("offer", sender)
            .Put("files", static_cast<int64_t>(files))
            .Put("totalSize", TotalSize(want))
            .Put("previewBytes", static_cast<int64_t>(preview.size()));
        Show(EscapeForTerminal(sender) + " offers " + Counted(files, "file") + ", " + BytesText(TotalSize(want)) +
                 (preview.empty() ? "" : ", preview: " + EscapeForTerminal(preview.substr(0, MAX_PREVIEW))),
            json);
        if (options_.offers != Answer::IGNORE) {
            AnswerOffer(want);
        }
    }
    void AnswerOffer(const Want& want)
    {
        const sptr<PelagoReceiver> receiver = Service().GetReceiverActionCallback();
        if (receiver == nullptr) {
            Complain("the offer has gone");
            return;
        }
        int32_t result = RECEIVER_OK;
        if (options_.offers == Answer::DECLINE) {
            result = receiver->Refuse(REASON_USER);
            outcome_->Set(EXIT_DONE);
        } else {
            result = receiver->Accept(
                directory_, ShowReceiving(want.GetStringParam("senderName"), TotalSize(want), json_, outcome_));
        }
        if (result != RECEIVER_OK) {
            Complain("the offer has ended already");
            outcome_->Set(EXIT_FAILED);
        }
    }
    static int64_t TotalSize(const Want& want)
    {
        return std::strtoll(want.GetStringParam("totalSize").c_str(), nullptr, 10);
    }

    static constexpr size_t MAX_PREVIEW = 200; // bytes that are shown

    const ExtensionOptions options_;
    const bool json_;
    const FrontEnd frontEnd_;
    const int directory_;
    const std::shared_ptr<Outcome> outcome_;
};

const Extension::IntentRow Extension::INTENTS[] = {
    {SHARE_ABILITY, "ShareIntent", "receive", &Extension::TakeOffer},
    {SHARE_ABILITY, "ShareIntent", "send_notification", &Extension::ShowSends},
    {SHARE_ABILITY, "ShareIntent", "preStartHap", &Extension::BeReady},
    {SHARE_ABILITY, "ShareIntent", "switchNotifyComponent", &Extension::ShowComponent},
    {PERMISSION_ABILITY, "permissionIntent", "firstUse", &Extension::AskFirstUse},
    {PERMISSION_ABILITY, "permissionIntent", "openWifiAndBluetooth", &Extension::AskForRadios},
    {PERMISSION_ABILITY, "permissionIntent", "show_tip", &Extension::ShowTip},
    {API_ABILITY, "CorvaneShareIntent", "nudgeEnableShare", &Extension::OfferToEnable},
    {API_ABILITY, "CorvaneShareIntent", "nudgeConnectFail", &Extension::ShowNudgeFailure},
    {SWING_SEND_ABILITY, "swingIntent", "swingSendConfirm", &Extension::AskForSwing},
    {SWING_SEND_ABILITY, "swingIntent", "closeSwingSendConfirm", &Extension::CloseSwingDialog},
    {SWING_RECEIVE_ABILITY, "swingIntent", "swingReceiveConfirm", &Extension::ShowSwing},
    {SWING_RECEIVE_ABILITY, "swingIntent", "closeSwingReceiveConfirm", &Extension::CloseSwingDialog},
};

void Extension::OnStart(const Want& want)
{
    for (const IntentRow& row : INTENTS) {
        if (want.GetElement().GetAbilityName() == row.ability && want.GetStringParam(row.key) == row.intent) {
            (this->*row.show)(want);
            return;
        }
    }
    Complain("started for something unknown: " + EscapeForTerminal(want.GetElement().GetAbilityName()));
}

} // namespace

sptr<Host::ExtensionStub> NewExtension(
    const ExtensionOptions& options, bool json, FrontEnd frontEnd, int directory, std::shared_ptr<Outcome> outcome)
{
    return MakeSptr<Extension>(options, json, std::move(frontEnd), directory, std::move(outcome));
}

std::vector<std::string> ExtensionAbilities()
{
    return {SHARE_ABILITY, API_ABILITY, PERMISSION_ABILITY, SWING_SEND_ABILITY, SWING_RECEIVE_ABILITY};
}

} // namespace OHOS::Pelago::Tools
