#pragma once

#include "Flow/Flow.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "ProjectStatusText.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <optional>

namespace SYC {

/// A project of a server as one user sees it, on the server and on this computer.
struct SYC_API BrowsedProject {
    /// How the user stands to the project.
    enum class Membership {
        Member,  ///< may be joined
        Public,  ///< is shown to everybody; a manager of it has to add the user first
        None,    ///< known here alone: the server does not show it to the user (any more)
    };

    OV::UniString id;        ///< empty when neither server nor cache says it
    OV::UniString name;      ///< in its own letter case
    OV::UniString category;  ///< empty for none
    OV::UniString version;   ///< of the project's data format
    std::optional<Syncra::Protocol::ProjectState> state;  ///< nothing: the server did not say
    std::uint32_t members = 0;                 ///< how many it has; 0 when the server did not say
    std::uint32_t atWork = 0;                  ///< members whose client is connected to it now
    Membership membership = Membership::None;  ///< the user's own

    /// What is known of it on this computer; `facts.joined` says whether it is cached.
    ProjectStatusFacts facts;
    IO::Location cacheFolder;         ///< empty when it is not cached
    bool hasUnsentWork = false;       ///< changes or mails
    std::int32_t lastOpenedTime = 0;  ///< seconds since 1970-01-01 UTC; 0 for never

    /// Whether it has a cache here.
    [[nodiscard]] bool IsCached() const noexcept { return facts.joined; }
    /// "Joined, unsent changes" and the like; empty for one that is not cached.
    [[nodiscard]] OV::UniString GetStatusText() const { return GetProjectStatusText(facts); }
    /// The state on the server in a word or two; empty when it did not say.
    [[nodiscard]] OV::UniString GetStateText() const;
};

/// The projects of a server, for a user to choose one that he opens or joins. A refresh asks the
/// server, two requests and one more for each cached project that it does not list; when it cannot
/// be asked, the flow has failed and the projects cached here are listed all the same, as offline
/// ones.
class SYC_API BrowseProject final : public Flow {
public:
    /// The caches are those of the user on that server below `dataFolder`, or below the main
    /// project folder when it is empty.
    BrowseProject(Syncra::Client::SignInData login, IO::Location dataFolder,
                  const FlowExecutors& executors);

    /// Another server or user; what was listed goes. Asks nobody.
    void SetLogin(Syncra::Client::SignInData login);
    /// Whose projects are listed.
    [[nodiscard]] const Syncra::Client::SignInData& GetLogin() const noexcept { return login_; }

    /// Reads the list anew; the former one stays until the new one is there.
    void Refresh();

    /// By category, those without one last, and by name within it, as the user's language sorts.
    [[nodiscard]] const OV::Array<BrowsedProject>& GetProjects() const noexcept
    {
        return projects_;
    }
    /// The categories that the projects are in, each once, in the order of the list.
    [[nodiscard]] OV::Array<OV::UniString> GetCategories() const;
    /// Null when there is none of that name, or several differ from it in letter case alone and
    /// none is it exactly.
    [[nodiscard]] const BrowsedProject* Find(const OV::UniString& name) const;

    /// The project URL of one that is listed, with the password coded. Throws
    /// SYCB::PasswordCodingException.
    [[nodiscard]] IO::Location GetLocation(const BrowsedProject& project) const;

private:
    Syncra::Client::SignInData login_;
    IO::Location dataFolder_;
    OV::Array<BrowsedProject> projects_;
};

}  // namespace SYC
