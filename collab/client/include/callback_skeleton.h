#ifndef COLLAB_CLIENT_CALLBACK_SKELETON_H
#define COLLAB_CLIENT_CALLBACK_SKELETON_H

#include "refbase.h"

namespace OHOS::Synfold {

// Base of what is handed to OmnibindManager::SubscribeNotifyDisconnect. Owned by its references; may be made before
// main. It has nothing to be called: the framework only wants to know that somebody is there.
class CallbackSkeleton : public virtual RefBase {
public:
    ~CallbackSkeleton() override = default;
};

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_CALLBACK_SKELETON_H
