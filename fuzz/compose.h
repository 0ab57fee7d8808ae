#ifndef PELAGO_FUZZ_COMPOSE_H
#define PELAGO_FUZZ_COMPOSE_H

#include <string>
#include <vector>

#include "bytes_info.h"
#include "data_bean.h"
#include "feed.h"
#include "message_parcel.h"
#include "recv_preview.h"
#include "send_bean.h"
#include "share_account_info.h"
#include "share_device.h"
#include "share_device_info.h"

// Requests made of an input's bytes.
namespace OHOS::Pelago::Fuzz {

// What may be put into a request. The lists are those of whoever sends.
struct Pool {
    std::vector<sptr<IRemoteObject>>& objects;
    std::vector<int>& descriptors;
};

// A record with values of the feed.
ShareDeviceInfo DrawDeviceInfo(Feed& feed);
ShareDevice DrawDevice(Feed& feed);
SendBean DrawSendBean(Feed& feed, Pool& pool);
DataBean DrawDataBean(Feed& feed);
BytesInfo DrawBytesInfo(Feed& feed);
RecvPreview DrawPreview(Feed& feed);
ShareAccountInfo DrawAccountInfo(Feed& feed);
// A descriptor that stays open: /dev/null.
int NullDescriptor();

// Appends a field for each letter: b bool, i int32, l int64, s string, v strings, o object, D device info, d device
// behind its presence, S send bean, F data bean, B bytes, P preview. What does not fit is left out.
void Compose(MessageParcel& parcel, const char* fields, Feed& feed, Pool& pool);

// The operations of one stub.
struct CallRow {
    uint32_t code;
    const char* fields;
};
struct Interface {
    std::u16string token;
    std::vector<CallRow> calls;
};

// The request that was made.
struct Made {
    uint32_t code = 0;
    bool isLikely = false; // a code of the interface, its token and its fields
};
// Half of the codes are the interface's own, half are wild; tokens and fields are right most of the time.
Made MakeRequest(MessageParcel& parcel, const Interface& interface, Feed& feed, Pool& pool);
// Keeps the objects and descriptors that came with a reply.
void KeepReply(MessageParcel& reply, Pool& pool);

} // namespace OHOS::Pelago::Fuzz

#endif // PELAGO_FUZZ_COMPOSE_H
