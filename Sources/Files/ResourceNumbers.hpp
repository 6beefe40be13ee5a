#pragma once

/// Numbers of the library's resources that more than one place asks for, as they stand in
/// Resources/.
namespace SYC::TextLists {

inline constexpr int ProjectWords = 31022;
inline constexpr int CloseProject = 31033;
inline constexpr int DiscardWarning = 31034;
inline constexpr int TaskProgress = 32100;
inline constexpr int ObjectWords = 32102;
inline constexpr int Failures = 32120;
inline constexpr int FailureAdvice = 32121;
inline constexpr int CheckWords = 32122;
inline constexpr int CheckSteps = 32123;
inline constexpr int MailTexts = 32130;
inline constexpr int Flows = 32140;
inline constexpr int DiagnosisHints = 32141;
inline constexpr int ActivityLog = 32160;

}  // namespace SYC::TextLists

namespace SYC::Alerts {

inline constexpr int DiscardChanges = 32040;
inline constexpr int ServerNotTrusted = 32060;
inline constexpr int FlowFailed = 32070;
inline constexpr int FlowMayTryAgain = 32071;
inline constexpr int TakeSessionOver = 32072;
inline constexpr int NewSession = 32073;
inline constexpr int LoseUnsentWork = 32074;
inline constexpr int DeleteProject = 32075;
inline constexpr int DeleteProjectForGood = 32076;

}  // namespace SYC::Alerts
