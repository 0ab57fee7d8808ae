#include "message_parcel.h"

#include <tuple>

#include "ipc_scene.h"
#include "raw_peer.h"

namespace OHOS {
namespace {

constexpr size_t BIG = MessageParcel::MAX_INLINE_RAW_DATA + 1;

TEST(MessageParcelTest, ObjectsAndDescriptorsHaveFrozenBytesAndLeaveOtherFieldsAlone)
{
    const size_t before = CountDescriptors();
    {
        MessageParcel parcel;
        const sptr<IRemoteObject> first = new ScriptedStub;
        const sptr<IRemoteObject> second = new ScriptedStub;
        const int fd = FileWith("content");
        ASSERT_TRUE(parcel.WriteInterfaceToken(u"ab") && parcel.WriteRemoteObject(first) &&
                    parcel.WriteFileDescriptor(fd) && parcel.WriteFileDescriptor(fd) &&
                    parcel.WriteRemoteObject(second) && parcel.WriteRawData("raw", 3));
        (void)::close(fd);
        EXPECT_EQ(BytesOf(parcel), Hex("02000000 61006200 00000000 2a4f424a 00000000 2446442a"
                                       "00000000 2446442a 01000000 2a4f424a 01000000 03000000 72617700"));

        EXPECT_EQ(parcel.ReadRemoteObject(), nullptr) << "a token is next";
        EXPECT_EQ(parcel.ReadFileDescriptor(), -1);
        EXPECT_EQ(parcel.ReadInterfaceToken(), u"ab") << "a failed read has moved nothing";
        EXPECT_EQ(parcel.ReadRemoteObject(), first);
        EXPECT_EQ(parcel.ReadRemoteObject(), nullptr) << "a descriptor is next";
        const size_t start = parcel.GetReadPosition();
        const int read = parcel.ReadFileDescriptor();
        EXPECT_EQ(TextOf(read), "content");
        EXPECT_EQ(::fcntl(read, F_GETFD), FD_CLOEXEC);
        (void)::close(read);
        ASSERT_TRUE(parcel.RewindRead(start));
        EXPECT_EQ(parcel.ReadFileDescriptor(), -1) << "it is the reader's now, and may be anything by this time";
        EXPECT_EQ(CountDescriptors(), before + 1);
    }
    EXPECT_EQ(CountDescriptors(), before) << "what nobody took is closed";
}

TEST(MessageParcelTest, WhatCannotBeWrittenLeavesNothing)
{
    MessageParcel parcel;
    EXPECT_FALSE(parcel.WriteRemoteObject(nullptr) || parcel.WriteFileDescriptor(-1));
    EXPECT_FALSE(parcel.WriteRawData(nullptr, 4) || parcel.WriteRawData("", 0));
    EXPECT_EQ(parcel.GetDataSize(), 0U);
    ASSERT_TRUE(parcel.SetMaxCapacity(8));
    const size_t descriptors = CountDescriptors();
    EXPECT_TRUE(parcel.WriteFileDescriptor(STDERR_FILENO));
    EXPECT_FALSE(parcel.WriteFileDescriptor(STDERR_FILENO) || parcel.WriteRemoteObject(new ScriptedStub));
    EXPECT_FALSE(parcel.WriteRawData("abc", 3) || parcel.WriteRawData(std::string(BIG, 'x').data(), BIG));
    EXPECT_EQ(parcel.GetDataSize(), 8U);
    EXPECT_EQ(CountDescriptors(), descriptors + 1);
}

TEST(MessageParcelTest, RawDataReadsBackOnBothSidesOfTheInlineLimit)
{
    for (const size_t size : {size_t{1}, BIG - 1, BIG, size_t{1} << 20}) {
        MessageParcel parcel;
        const std::string bytes = std::string(size - 1, 'x') + 'y';
        ASSERT_TRUE(parcel.WriteRawData(bytes.data(), size)) << size;
        EXPECT_EQ(parcel.ContainFileDescriptors(), size >= BIG);
        EXPECT_EQ(parcel.ReadRawData(size + 1), nullptr) << size;
        const auto* read = static_cast<const char*>(parcel.ReadRawData(size));
        EXPECT_TRUE(read != nullptr && bytes == std::string(read, size)) << size;
        EXPECT_EQ(parcel.GetReadableBytes(), 0U);
    }
}

// A descriptor that a scene hands over as raw data of `written` bytes.
int RawFile(size_t written, int seals)
{
    const int fd = ::memfd_create("raw", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    EXPECT_EQ(::ftruncate(fd, static_cast<off_t>(written)), 0);
    EXPECT_EQ(::pwrite(fd, "first", 5, 0), 5);
    EXPECT_TRUE(seals == 0 || ::fcntl(fd, F_ADD_SEALS, seals) == 0);
    return fd;
}

// What a hostile sender may put in place of a sealed memory file.
TEST(MessageParcelTest, RawDataFromAStrangeFileIsCopiedOrRefused)
{
    std::array<int, 2> pipe = {-1, -1};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const int seals = F_SEAL_SHRINK | F_SEAL_WRITE | F_SEAL_GROW;
    const std::tuple<const char*, int, bool> rows[] = {
        {"sealed", RawFile(BIG, seals), true},
        {"not sealed", RawFile(BIG, 0), true},
        {"may still be written", RawFile(BIG, F_SEAL_SHRINK), true},
        {"too short", RawFile(BIG - 1, seals), false},
        {"pipe", pipe[0], false},
        {"folder", ::open("/", O_RDONLY | O_CLOEXEC), false},
        {"device", ::open("/dev/zero", O_RDONLY | O_CLOEXEC), false},
    };
    for (const auto& [name, fd, isReadable] : rows) {
        MessageParcel parcel;
        ASSERT_TRUE(parcel.WriteInt32(static_cast<int32_t>(BIG)) && parcel.WriteFileDescriptor(fd));
        const auto* data = static_cast<const char*>(parcel.ReadRawData(BIG));
        EXPECT_EQ(data != nullptr, isReadable) << name;
        // Whatever the sender does to its file, the reader's bytes stay: neither changed nor a signal.
        (void)!::pwrite(fd, "other", 5, 0);
        (void)!::ftruncate(fd, 0);
        EXPECT_TRUE(data == nullptr || std::string(data, 5) == "first") << name;
        (void)::close(fd);
    }
    (void)::close(pipe[1]);
}

TEST(MessageParcelTest, BytesThatLieAboutObjectsAndDescriptorsOnlyFailTheRead)
{
    constexpr uint32_t object = 0x4a424f2a;
    constexpr uint32_t descriptor = 0x2a444624;
    const std::vector<uint32_t> lies[] = {{}, {object}, {object, 0}, {object, 0xffffffff}, {descriptor, 0},
        {descriptor, 0x80000000}, {0xffffffff, descriptor, 0}, {64, 1, 2}, {BIG, 5}, {BIG, descriptor, 0}};
    for (const std::vector<uint32_t>& words : lies) {
        SCOPED_TRACE(testing::PrintToString(words));
        MessageParcel parcel;
        for (const uint32_t word : words) {
            ASSERT_TRUE(parcel.WriteUint32(word));
        }
        EXPECT_EQ(parcel.ReadRemoteObject(), nullptr);
        EXPECT_EQ(parcel.ReadFileDescriptor(), -1);
        for (const size_t size : {size_t{64}, BIG, size_t{0xffffffff}}) {
            EXPECT_EQ(parcel.ReadRawData(size), nullptr);
        }
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
    }
}

} // namespace
} // namespace OHOS
