#include "Tls.hpp"

#include "OVRoot/System.hpp"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace Nexar {

namespace {

constexpr long ValidSeconds = 365L * 86'400;
constexpr std::size_t SerialBytes = 16;

template <auto Free>
struct Freeing {
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using Context = std::unique_ptr<SSL_CTX, Freeing<SSL_CTX_free>>;
using Key = std::unique_ptr<EVP_PKEY, Freeing<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freeing<X509_free>>;
using MemoryFile = std::unique_ptr<BIO, Freeing<BIO_free_all>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freeing<X509_EXTENSION_free>>;

[[noreturn]] void Fail(const std::string& what)
{
    const char* reason = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    throw std::runtime_error(what + ": " + (reason != nullptr ? reason : "it cannot be used") +
                             ".");
}

void Check(bool isDone)
{
    if (!isDone)
        Fail("Cannot make a certificate");
}

int ChooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size,
                   const unsigned char* offered, unsigned offeredSize, void*)
{
    static constexpr unsigned char ours[] = "\x08http/1.1";
    const int result = SSL_select_next_proto(const_cast<unsigned char**>(chosen), size, ours,
                                             sizeof ours - 1, offered, offeredSize);
    return result == OPENSSL_NPN_NEGOTIATED ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_ALERT_FATAL;
}

std::string TextOf(const MemoryFile& memory)
{
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

void AddExtension(X509* certificate, int kind, const std::string& value)
{
    const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    Check(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void GiveNumber(X509* certificate)
{
    std::array<unsigned char, SerialBytes> bytes{};
    Check(RAND_bytes(bytes.data(), bytes.size()) == 1);
    bytes[0] &= 0x7F;  // a negative number is none
    const std::unique_ptr<BIGNUM, Freeing<BN_free>> number(
        BN_bin2bn(bytes.data(), bytes.size(), nullptr));
    Check(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)));
}

void GiveName(X509* certificate, const std::string& host)
{
    X509_NAME* name = X509_get_subject_name(certificate);
    const auto* bytes = reinterpret_cast<const unsigned char*>(host.c_str());
    Check(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, bytes, -1, -1, 0) == 1);
    Check(X509_set_issuer_name(certificate, name) == 1);
    const bool isAddress = OV::System::IsNumericHostAddress(host);
    AddExtension(certificate, NID_subject_alt_name, (isAddress ? "IP:" : "DNS:") + host);
    // Not CA:TRUE, or who trusts it would trust it for every other host as well.
    AddExtension(certificate, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(certificate, NID_key_usage, "critical,digitalSignature");
    AddExtension(certificate, NID_ext_key_usage, "serverAuth");
}

std::string FingerprintOf(const X509* certificate)
{
    std::array<unsigned char, 32> digest{};
    unsigned size = 0;
    Check(X509_digest(certificate, EVP_sha256(), digest.data(), &size) == 1);
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : digest) {
        text += text.empty() ? "" : ":";
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

}  // namespace

ssl_ctx_st* MakeTlsContext(const std::string& certificate, const std::string& key)
{
    Context context(SSL_CTX_new(TLS_server_method()));
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(context.get(), "ECDHE+AESGCM:ECDHE+CHACHA20") != 1)
        Fail("TLS cannot be started");
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    // A held request waits for long and must not keep the buffers of what went by.
    SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_alpn_select_cb(context.get(), ChooseProtocol, nullptr);
    if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1)
        Fail("Cannot use the certificate \"" + certificate + "\"");
    if (SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(context.get()) != 1)
        Fail("Cannot use the key \"" + key + "\" of the certificate");
    return context.release();
}

SelfSigned MakeCertificate(const std::string& host)
{
    const Key key(EVP_EC_gen("P-256"));
    const Certificate certificate(X509_new());
    Check(key && certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1);
    GiveNumber(certificate.get());
    Check(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0) != nullptr);
    Check(X509_gmtime_adj(X509_getm_notAfter(certificate.get()), ValidSeconds) != nullptr);
    Check(X509_set_pubkey(certificate.get(), key.get()) == 1);
    GiveName(certificate.get(), host);
    Check(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);
    const MemoryFile certificateText(BIO_new(BIO_s_mem()));
    const MemoryFile keyText(BIO_new(BIO_s_mem()));
    Check(certificateText && keyText &&
          PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1 &&
          PEM_write_bio_PKCS8PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                        nullptr) == 1);
    return {TextOf(certificateText), TextOf(keyText), FingerprintOf(certificate.get())};
}

}  // namespace Nexar
