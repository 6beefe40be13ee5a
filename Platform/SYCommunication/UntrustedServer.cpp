#include "SYCommunication/UntrustedServer.hpp"

#include "OVRoot/Format.hpp"
#include "OVRoot/Resources.hpp"

#include <algorithm>

namespace Communication {

namespace {

constexpr int Words = 32110;
/// Behind the words of the problems.
enum Advice : int { CompareFingerprint = 10, AskWhetherRenewed, NameTls, LookWhoAnswers };

}  // namespace

bool UntrustedServer::Has(TrustProblem problem) const noexcept
{
    return std::find(problems.begin(), problems.end(), problem) != problems.end();
}

bool UntrustedServer::MayBeTrusted() const noexcept
{
    return !problems.empty() && !Has(TrustProblem::Changed) && !Has(TrustProblem::ClearText) &&
           !Has(TrustProblem::NoTls);
}

OV::UniString UntrustedServer::GetPlace() const
{
    const bool hasColons = host.find(u':') != OV::UniString::npos;
    return (hasColons ? u"[" + host + u"]" : host) + u":" + OV::ToText(port);
}

OV::UniString UntrustedServer::DescribeProblems() const
{
    OV::UniString text;
    for (const TrustProblem problem : problems) {
        if (!text.empty())
            text += u' ';
        text += OV::GetStringListItem(Words, static_cast<int>(problem));
    }
    return text;
}

OV::UniString UntrustedServer::GetAdvice() const
{
    const auto text = [](Advice advice, std::initializer_list<OV::FormatArgument> arguments = {}) {
        return OV::FormatText(OV::GetStringListItem(Words, advice), arguments);
    };
    if (Has(TrustProblem::ClearText))
        return text(NameTls, {host});
    if (Has(TrustProblem::NoTls))
        return text(LookWhoAnswers);
    if (Has(TrustProblem::Changed))
        return text(AskWhetherRenewed, {trustedFingerprint, certificate.fingerprint});
    return text(CompareFingerprint, {certificate.fingerprint});
}

OV::UniString UntrustedServer::Describe() const
{
    return OV::FormatText(u"Server % is not trusted. % %",
                          {GetPlace(), DescribeProblems(), GetAdvice()});
}

}  // namespace Communication
