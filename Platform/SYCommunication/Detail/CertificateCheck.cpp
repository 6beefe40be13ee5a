#include "SYCommunication/Detail/CertificateCheck.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/System.hpp"
#include "SYCommunication/ServerTrust.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace Communication::Detail {

namespace {

struct BioDeleter {
    void operator()(BIO* memory) const noexcept { BIO_free_all(memory); }
};
struct NamesDeleter {
    void operator()(GENERAL_NAMES* names) const noexcept { GENERAL_NAMES_free(names); }
};

/// For people: a certificate may hold anything.
OV::UniString Shown(OV::StringView bytes)
{
    OV::UniString text = OV::FromUtf8(bytes);
    std::replace_if(
        text.begin(), text.end(), [](char16_t unit) { return unit < u' ' || unit == 0x7F; }, u'?');
    return text;
}

OV::UniString FingerprintOf(const X509* certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (X509_digest(certificate, EVP_sha256(), digest.data(), &size) != 1)
        return {};
    OV::String text;
    for (unsigned at = 0; at < size; ++at) {
        text += at == 0 ? "" : ":";
        text += OV::HexDigit(digest[at] >> 4U);
        text += OV::HexDigit(digest[at]);
    }
    return OV::FromUtf8(text);
}

/// What `print` writes.
template <class Print>
OV::UniString Printed(Print&& print)
{
    const std::unique_ptr<BIO, BioDeleter> memory(BIO_new(BIO_s_mem()));
    if (!memory || print(memory.get()) < 0)
        return {};
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &bytes);
    return Shown({bytes, static_cast<std::size_t>(size)});
}

OV::UniString TextOf(const X509_NAME* name)
{
    constexpr auto form = XN_FLAG_ONELINE & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    return Printed([&](BIO* memory) { return X509_NAME_print_ex(memory, name, 0, form); });
}

OV::Array<OV::UniString> NamesOf(const X509* certificate)
{
    OV::Array<OV::UniString> texts;
    const std::unique_ptr<GENERAL_NAMES, NamesDeleter> names(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    for (int at = 0; names && at < sk_GENERAL_NAME_num(names.get()); ++at) {
        GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), at);
        const auto text = Printed([&](BIO* memory) { return GENERAL_NAME_print(memory, name); });
        // The kind stands before it: "DNS:".
        if (name->type == GEN_DNS || name->type == GEN_IPADD)
            texts.push_back(text.substr(text.find(u':') + 1));
    }
    return texts;
}

std::int64_t SecondsOf(const ASN1_TIME* time)
{
    using namespace std::chrono;
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1)
        return 0;
    const sys_days day = year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
    return seconds(day.time_since_epoch()).count() + (parts.tm_hour * 60 + parts.tm_min) * 60 +
           parts.tm_sec;
}

ServerCertificate Read(const X509* certificate)
{
    return {FingerprintOf(certificate),
            TextOf(X509_get_subject_name(certificate)),
            TextOf(X509_get_issuer_name(certificate)),
            NamesOf(certificate),
            SecondsOf(X509_get0_notBefore(certificate)),
            SecondsOf(X509_get0_notAfter(certificate))};
}

TrustProblem ProblemOf(int error)
{
    switch (error) {
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        return TrustProblem::SelfSigned;
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_UNTRUSTED:
        return TrustProblem::UnknownAuthority;
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return TrustProblem::WrongName;
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return TrustProblem::Expired;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return TrustProblem::NotYetValid;
    default:
        return TrustProblem::UnusableCertificate;
    }
}

/// Goes on behind each problem, so that the user hears of all of them.
int NoteProblem(int isFine, X509_STORE_CTX* store)
{
    if (isFine == 1)
        return 1;
    auto& problems = *static_cast<OV::Array<TrustProblem>*>(X509_STORE_CTX_get_app_data(store));
    const TrustProblem problem = ProblemOf(X509_STORE_CTX_get_error(store));
    const auto has = [&](TrustProblem each) {
        return std::find(problems.begin(), problems.end(), each) != problems.end();
    };
    // Whoever vouches for himself has no authority: that is one problem.
    const bool isSaid = problem == TrustProblem::UnknownAuthority && has(TrustProblem::SelfSigned);
    if (!isSaid && !has(problem))
        problems.push_back(problem);
    return 1;
}

bool AskForName(X509_VERIFY_PARAM* wanted, const OV::UniString& host)
{
    // The zone of an address is this computer's own business.
    const OV::String name = OV::ToUtf8(host.substr(0, host.find(u'%')));
    if (OV::System::IsNumericHostAddress(name))
        return X509_VERIFY_PARAM_set1_ip_asc(wanted, name.c_str()) == 1;
    X509_VERIFY_PARAM_set_hostflags(wanted, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS |
                                                X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
    return X509_VERIFY_PARAM_set1_host(wanted, name.c_str(), name.size()) == 1;
}

/// Empty when an authority vouches for the certificate and the name.
OV::Array<TrustProblem> FindProblems(X509_STORE_CTX* store, const OV::UniString& host)
{
    OV::Array<TrustProblem> problems;
    if (!AskForName(X509_STORE_CTX_get0_param(store), host))
        return {TrustProblem::WrongName};
    X509_STORE_CTX_set_app_data(store, &problems);
    X509_STORE_CTX_set_verify_cb(store, &NoteProblem);
    const int result = X509_verify_cert(store);
    X509_STORE_CTX_set_app_data(store, nullptr);
    if (result != 1 && problems.empty())
        problems.push_back(TrustProblem::UnusableCertificate);
    return problems;
}

}  // namespace

bool CertificateCheck::IsTrusted(X509_STORE_CTX* store)
{
    UntrustedServer shown{
        server_.host, server_.port, {}, Read(X509_STORE_CTX_get0_cert(store)), {}};
    const auto trusted = ServerTrust::GetInstance().Find(server_.host, server_.port);
    const bool isSame = trusted && !trusted->empty() && *trusted == shown.certificate.fingerprint;
    if (onlyLook_ || !trusted)
        shown.problems = FindProblems(store, server_.host);
    if (trusted && !isSame) {
        shown.problems.insert(shown.problems.begin(), TrustProblem::Changed);
        shown.trustedFingerprint = *trusted;
    }
    if (shown.problems.empty() && !onlyLook_) {
        X509_STORE_CTX_set_error(store, X509_V_OK);
        return true;
    }
    refused_ = std::move(shown);
    return false;
}

int CertificateCheck::Verify(X509_STORE_CTX* store, void* self)
{
    try {
        if (static_cast<CertificateCheck*>(self)->IsTrusted(store))
            return 1;
    } catch (...) {
        // Nothing may leave through OpenSSL. What cannot be judged is refused.
    }
    X509_STORE_CTX_set_error(store, X509_V_ERR_APPLICATION_VERIFICATION);
    return 0;
}

CURLcode CertificateCheck::TakeContext(CURL*, void* context, void* self)
{
    SSL_CTX_set_cert_verify_callback(static_cast<SSL_CTX*>(context), &Verify, self);
    return CURLE_OK;
}

void CertificateCheck::Install(CURL* handle)
{
    // The name is part of what Verify judges; curl would refuse one that the user trusts.
    const bool isDone =
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L) == CURLE_OK &&
        curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 0L) == CURLE_OK &&
        curl_easy_setopt(handle, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2) == CURLE_OK &&
        curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, &TakeContext) == CURLE_OK &&
        curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, this) == CURLE_OK;
    if (!isDone)
        throw ConnectionException(OV::StringView("The HTTP library of this computer was built "
                                                 "without OpenSSL. Install the one that was."));
}

}  // namespace Communication::Detail
