#pragma once

/// Numbers of the library's resources that more than one place asks for, as they stand in
/// Resources/.
namespace SYC::TextLists {

/// State words of projects.
inline constexpr int ProjectWords = 31022;
/// The dialog that asks what becomes of changes.
inline constexpr int CloseProject = 31033;
/// The dialog that warns before changes are discarded.
inline constexpr int DiscardWarning = 31034;
/// What the dialog of a request shows.
inline constexpr int TaskProgress = 32100;
/// Kinds of objects in alerts, by ObjectType.
inline constexpr int ObjectWords = 32102;
/// What happened, by FailureKind.
inline constexpr int Failures = 32120;
/// What to do, by FailureKind.
inline constexpr int FailureAdvice = 32121;
/// Results of a check, and what to do.
inline constexpr int CheckWords = 32122;
/// Steps of a check.
inline constexpr int CheckSteps = 32123;
/// Texts around mails.
inline constexpr int MailTexts = 32130;
/// What flows tell and ask.
inline constexpr int Flows = 32140;
/// What to do about a step of a diagnosis.
inline constexpr int DiagnosisHints = 32141;
/// Texts around the activity log.
inline constexpr int ActivityLog = 32160;

}  // namespace SYC::TextLists

namespace SYC::Alerts {

/// Whether changes are discarded.
inline constexpr int DiscardChanges = 32040;
/// Nothing was sent to a server, and why.
inline constexpr int ServerNotTrusted = 32060;
/// A flow failed, and why.
inline constexpr int FlowFailed = 32070;
/// The same where trying again may help.
inline constexpr int FlowMayTryAgain = 32071;
/// Whether a session is taken over from another computer.
inline constexpr int TakeSessionOver = 32072;
/// Whether a new session takes the place of one that ended elsewhere.
inline constexpr int NewSession = 32073;
/// Whether what was not sent goes with the cache.
inline constexpr int LoseUnsentWork = 32074;
/// Whether a project is deleted on its server.
inline constexpr int DeleteProject = 32075;
/// Whether that is really meant.
inline constexpr int DeleteProjectForGood = 32076;

}  // namespace SYC::Alerts
