#include "record_fields.h"

namespace OHOS::Pelago {
namespace {

// As SHARE_LOGE, with the place of the row instead of this one.
void LogAt(const FieldTexts& texts, const LogLabel& label, const char* function, const char* text)
{
    if (text != nullptr) {
        HILOG_IMPL(LOG_CORE, LOG_ERROR, label.domain, label.tag, "[%{public}s:%{public}d] %{public}s# %{public}s",
            SourceFileName(texts.file), texts.line, function, text);
    }
}

} // namespace

bool WriteFailed(const FieldTexts& texts, const LogLabel& label)
{
    LogAt(texts, label, "Marshalling", texts.onWrite);
    return false;
}

bool ReadFailed(const FieldTexts& texts, const LogLabel& label)
{
    LogAt(texts, label, "ReadFromParcel", texts.onRead);
    return false;
}

} // namespace OHOS::Pelago
