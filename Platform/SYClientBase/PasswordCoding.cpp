#include "SYClientBase/PasswordCoding.hpp"

#include "OVRoot/SecureWipe.hpp"
#include "SYClientBase/Detail/PasswordKey.hpp"

#include <algorithm>

// Synthetic-nonce encryption: the nonce is a keyed hash of the padded password, so that equal
// passwords give equal texts without ever using a nonce for two different ones. The text is a
// version character and, in base64, nonce, authenticator and cipher text.

namespace SYCB {

namespace {

constexpr char VersionCharacter = '1';
/// Passwords shorter than this all give texts of one length.
constexpr std::size_t PaddingBlock = 32;
constexpr char KeyContext[crypto_kdf_CONTEXTBYTES + 1] = "SYPassw1";
constexpr int Base64Variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
constexpr std::size_t NonceBytes = crypto_secretbox_xchacha20poly1305_NONCEBYTES;
constexpr std::size_t OverheadBytes = NonceBytes + crypto_secretbox_xchacha20poly1305_MACBYTES;

unsigned char* Bytes(OV::String& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}
const unsigned char* Bytes(const OV::String& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

/// One key a purpose, both made from the key of the file.
struct Keys {
    std::array<unsigned char, crypto_generichash_KEYBYTES> nonce;
    std::array<unsigned char, crypto_secretbox_xchacha20poly1305_KEYBYTES> cipher;

    explicit Keys(Detail::MissingKey missing)
    {
        Detail::PasswordKey master = Detail::GetPasswordKey(missing);
        crypto_kdf_derive_from_key(nonce.data(), nonce.size(), 1, KeyContext, master.data());
        crypto_kdf_derive_from_key(cipher.data(), cipher.size(), 2, KeyContext, master.data());
        OV::SecureWipe(master.data(), master.size());
    }
    ~Keys() { OV::SecureWipe(this, sizeof *this); }
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;
};

/// A new text, since growing the old one could leave a copy of it behind.
OV::String Padded(const OV::String& text)
{
    OV::String padded(text.size() + PaddingBlock, '\0');
    std::copy(text.begin(), text.end(), padded.begin());
    std::size_t length = 0;
    sodium_pad(&length, Bytes(padded), text.size(), PaddingBlock, padded.size());
    padded.resize(length);
    return padded;
}

[[noreturn]] void ThrowUnreadable()
{
    throw PasswordCodingException(
        "A stored password cannot be read: it was stored by another user or on "
        "another machine, or was changed. Enter it again.");
}

/// Nonce, authenticator and cipher text of a coded password.
OV::String SealedBytes(OV::UniStringView coded)
{
    const OV::String text = OV::ToUtf8(coded);
    if (text.empty() || text.front() != VersionCharacter)
        ThrowUnreadable();
    OV::String sealed(text.size(), '\0');
    std::size_t length = 0;
    // Without a place for the end of what was read, anything left over is an error.
    if (sodium_base642bin(Bytes(sealed), sealed.size(), text.data() + 1, text.size() - 1, nullptr,
                          &length, nullptr, Base64Variant) != 0 ||
        length < OverheadBytes + PaddingBlock)
        ThrowUnreadable();
    sealed.resize(length);
    return sealed;
}

}  // namespace

OV::UniString CodePassword(const OV::Secret& password)
{
    if (password.empty())
        return {};
    const Keys keys(Detail::MissingKey::Make);
    OV::String text = OV::ToUtf8(password.View());
    const OV::SecureWipeGuard<char> wipeText(text);
    OV::String clear = Padded(text);
    const OV::SecureWipeGuard<char> wipeClear(clear);

    OV::String sealed(OverheadBytes + clear.size(), '\0');
    unsigned char* const nonce = Bytes(sealed);
    crypto_generichash(nonce, NonceBytes, Bytes(clear), clear.size(), keys.nonce.data(),
                       keys.nonce.size());
    crypto_secretbox_xchacha20poly1305_easy(nonce + NonceBytes, Bytes(clear), clear.size(), nonce,
                                            keys.cipher.data());

    OV::String coded(sodium_base64_encoded_len(sealed.size(), Base64Variant), '\0');
    sodium_bin2base64(coded.data(), coded.size(), Bytes(sealed), sealed.size(), Base64Variant);
    coded.pop_back();  // the terminating null character
    return OV::FromUtf8(VersionCharacter + coded);
}

OV::Secret DecodePassword(OV::UniStringView coded)
{
    if (coded.empty())
        return {};
    const OV::String sealed = SealedBytes(coded);
    const Keys keys(Detail::MissingKey::Refuse);
    OV::String clear(sealed.size() - OverheadBytes, '\0');
    const OV::SecureWipeGuard<char> wipe(clear);
    std::size_t length = 0;
    if (crypto_secretbox_xchacha20poly1305_open_easy(Bytes(clear), Bytes(sealed) + NonceBytes,
                                                     sealed.size() - NonceBytes, Bytes(sealed),
                                                     keys.cipher.data()) != 0 ||
        sodium_unpad(&length, Bytes(clear), clear.size(), PaddingBlock) != 0)
        ThrowUnreadable();
    return OV::FromUtf8(OV::StringView(clear).substr(0, length));
}

}  // namespace SYCB
