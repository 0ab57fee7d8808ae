#ifndef PELAGO_TRANSFER_DESCRIPTOR_LEDGER_H
#define PELAGO_TRANSFER_DESCRIPTOR_LEDGER_H

#include <cstddef>
#include <memory>
#include <vector>

#include "send_bean.h"

namespace OHOS::Pelago {

class DescriptorSet;

// Keeps the descriptors of one request open: the last copy that goes closes them. Empty when there is nothing to keep.
using DescriptorShare = std::shared_ptr<const DescriptorSet>;

// Who owns the descriptors that FileHolder records only name. A request that brings files, and a copy of it made for a
// further device, is adopted once; whoever stores the record holds a share beside it. Descriptors that nobody adopted
// are never touched. Static; any thread.
class DescriptorLedger {
public:
    // Takes over the valid descriptors of `bean`, each once. Those that are adopted already stay with their owner.
    [[nodiscard]] static DescriptorShare Adopt(const SendBean& bean);

    // A share of whoever adopted the descriptors of `bean`; empty when nobody did.
    [[nodiscard]] static DescriptorShare ShareOf(const SendBean& bean);

    // How many descriptors are open by adoption.
    static size_t OpenCount();
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_DESCRIPTOR_LEDGER_H
