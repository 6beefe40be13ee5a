#include "SYClientBase/Detail/PasswordKey.hpp"

#include "IO/ExclusiveFile.hpp"
#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/SecureWipe.hpp"
#include "SYClientBase/PasswordCoding.hpp"

#include <algorithm>

namespace SYCB::Detail {

namespace {

constexpr OV::UniStringView KeyFileName = u"SYPassword.key";
constexpr OV::UniStringView LockFileName = u"@SYPassword.Lock";

struct KnownKey {
    IO::Location file;
    PasswordKey key{};
};

PasswordKey ReadKey(const IO::Location& file)
{
    OV::String bytes = IO::File::ReadAll(file);
    if (bytes.size() != crypto_kdf_KEYBYTES)
        throw PasswordCodingException(
            u"The key file for stored passwords is damaged: " + file.ToDisplayText() +
            u". Restore it from a backup, or delete it and enter every stored password again.");
    PasswordKey key;
    std::copy(bytes.begin(), bytes.end(), key.begin());
    OV::SecureWipe(bytes);
    return key;
}

/// Under a lock between processes and with a second look, so that all of them keep the first key.
PasswordKey MakeKey(const IO::Location& file)
{
    auto lock = IO::ExclusiveFile::Open(file.Parent().Appended(LockFileName));
    if (!IO::File::Exists(file)) {
        OV::String bytes(crypto_kdf_KEYBYTES, '\0');
        randombytes_buf(bytes.data(), bytes.size());
        IO::File::Replace(file, bytes, true);
        OV::SecureWipe(bytes);
    }
    PasswordKey key = ReadKey(file);
    lock.DeleteAndClose();
    return key;
}

PasswordKey LoadKey(const IO::Location& file, MissingKey missing)
{
    if (IO::File::Exists(file))
        return ReadKey(file);
    if (missing == MissingKey::Make)
        return MakeKey(file);
    throw PasswordCodingException(
        u"A stored password cannot be read, since its key is not there: " + file.ToDisplayText() +
        u". Restore it from a backup, or enter the password again.");
}

}  // namespace

void InitialiseSodium()
{
    static const int result = sodium_init();
    if (result < 0)
        throw PasswordCodingException(
            "The system gives no random numbers, so passwords cannot be stored.");
}

PasswordKey GetPasswordKey(MissingKey missing)
{
    static OV::Lock lock;
    static auto& known = *new KnownKey;
    InitialiseSodium();
    const OV::LockGuard guard(lock);
    try {
        const IO::Location folder = IO::GetCompanyFolder(IO::SpecialFolder::RoamingApplicationData);
        const IO::Location file = folder.Appended(KeyFileName);
        if (known.file != file)
            known = {file, LoadKey(file, missing)};
        return known.key;
    } catch (const IO::IOException& failure) {
        throw PasswordCodingException(
            u"The key file for stored passwords (SYPassword.key) cannot be read or made: " +
                failure.GetMessage(),
            OV::SourcePlace::Here(), failure.Clone());
    }
}

}  // namespace SYCB::Detail
