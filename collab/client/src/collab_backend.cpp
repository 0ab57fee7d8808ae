#include "collab_backend.h"

#include <utility>

namespace OHOS::Synfold {
namespace {

// Read and replaced by atomic_load and atomic_store.
std::shared_ptr<CollabBackend>& Slot()
{
    static auto* slot = new std::shared_ptr<CollabBackend>();
    return *slot;
}

} // namespace

void InstallCollabBackend(std::shared_ptr<CollabBackend> backend)
{
    std::atomic_store(&Slot(), std::move(backend));
}

std::shared_ptr<CollabBackend> InstalledCollabBackend()
{
    return std::atomic_load(&Slot());
}

} // namespace OHOS::Synfold
