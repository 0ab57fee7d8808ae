#ifndef COLLAB_CLIENT_REQUEST_RESULT_INFO_H
#define COLLAB_CLIENT_REQUEST_RESULT_INFO_H

#include <string>
#include <utility>

#include "refbase.h"

namespace OHOS::Synfold {

// What the framework has found for a request: one JSON text, whose form is a matter of the two services that talk.
// Immutable; any thread.
class RequestResultInfo : public virtual RefBase {
public:
    explicit RequestResultInfo(std::string extraInfo) : extraInfo_(std::move(extraInfo))
    {}

    const std::string& GetExtraInfo() const
    {
        return extraInfo_;
    }

private:
    const std::string extraInfo_;
};

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_REQUEST_RESULT_INFO_H
