#include "Command.hpp"
#include "Commands.hpp"

#include "Display/ImageCoding.hpp"
#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/PercentCoding.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "ProjectHost.hpp"
#include "UserInterface/UserPhoto.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

constexpr int PhotoWidth = 100;
constexpr int PhotoHeight = 120;

struct MembersArguments {
    ProjectArguments project;
    std::string photos;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command
            .add_option("--photos", photos,
                        "Write each member's photo into this folder, as PNG of 100 by 120 pixels")
            ->option_text("DIR");
    }
};

struct Row {
    SYC::ProjectMembers::MemberId id = 0;
    const SYC::UserData* user = nullptr;
    OV::UniString role;
    bool isPresent = false;
    std::string photoFile;
};

std::vector<Row> CollectRows(const SYC::ProjectMembers& members)
{
    std::vector<Row> rows;
    for (const auto& [id, user] : members.GetUserDataTable()) {
        Row row{id, &user, {}, false, {}};
        if (const SYCB::UserAttributes* attributes = nullptr;
            members.GetUserAttributesFromId(id, attributes))
            row.role = attributes->roleName;
        rows.push_back(std::move(row));
    }
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.id < b.id; });
    return rows;
}

/// Who is present; a server without a messaging service leaves it unknown, with a message.
bool AskPresence(const ProjectHost& host, std::vector<Row>& rows, const Output& output)
{
    const auto& info = host.Connection();
    auto& presence = SYC::PresenceManager::GetInstance();
    try {
        output.Progress("Asking who is present ...");
        presence.SetTargetServer(info.serverName, info.port, info.userName, info.password);
    } catch (const PresenceManagerException& problem) {
        output.Error(ForDisplay(OV::MessageWithCauses(problem)));
        presence.BeforeShutdown();
        return false;
    }
    const auto present = presence.GetActivePresenceIds();
    for (Row& row : rows)
        row.isPresent = present.contains(row.user->GetLoginName());
    presence.BeforeShutdown();
    presence.AfterShutdown();
    return true;
}

/// Coded, since a login name may hold what a file name may not; one that is too long for a file
/// name is cut and told apart by the member's id.
template <class Id>
OV::String PhotoName(const OV::UniString& login, Id id)
{
    constexpr std::size_t longest = 200;
    OV::String name = OV::PercentEncode(OV::ToUtf8(login));
    if (name.size() > longest)
        name = name.substr(0, longest) + "~" + std::to_string(id);
    return name + ".png";
}

/// Every member gets a picture of the same size; who has no photo, the stand-in.
void WritePhotos(std::vector<Row>& rows, const std::string& folder)
{
    const auto place = IO::Location::FromPath(OV::FromUtf8(folder));
    IO::Folder::CreateTree(place);
    for (Row& row : rows) {
        const auto picture =
            SYC::GetUserPhoto(row.user->GetImage(), PhotoWidth, PhotoHeight, true, false);
        const auto name = OV::FromUtf8(PhotoName(row.user->GetLoginName(), row.id));
        IO::File::Replace(place.Appended(name),
                          NewDisplay::EncodeImage(picture, NewDisplay::ImageFormat::Png));
        row.photoFile = OV::ToUtf8(name);
    }
}

void Print(const std::vector<Row>& rows, bool isPresenceKnown, const Output& output)
{
    Json list = Json::array();
    std::vector<std::vector<std::string>> table{
        {"ID", "USER", "NAME", "ROLE", "COLOUR", "WORKING", "SINCE", "ON", "PRESENT", "PHOTO"}};
    for (const Row& row : rows) {
        const auto& photo = row.user->GetImage();
        const std::string size = photo.IsEmpty() ? "none"
                                                 : std::to_string(photo.GetWidth()) + "x" +
                                                       std::to_string(photo.GetHeight());
        table.push_back(
            {std::to_string(row.id), ForDisplay(row.user->GetLoginName()),
             ForDisplay(row.user->GetFullName()), ForDisplay(row.role),
             ColourForDisplay(row.user->GetUserColor()),
             row.user->HasNormalSession() ? "yes" : "no",
             row.user->GetWorkingSince() == 0 ? "" : TimeForDisplay(row.user->GetWorkingSince()),
             ForDisplay(row.user->GetComputer()),
             !isPresenceKnown ? "?"
             : row.isPresent  ? "yes"
                              : "no",
             row.photoFile.empty() ? size : size + "  " + row.photoFile});
        list.push_back(
            {{"id", row.id},
             {"user", ForJson(row.user->GetLoginName())},
             {"fullName", ForJson(row.user->GetFullName())},
             {"guid", ForJson(row.user->GetUserGuid().ToText())},
             {"role", ForJson(row.role)},
             {"colour", ColourForDisplay(row.user->GetUserColor())},
             {"working", row.user->HasNormalSession()},
             {"workingSince",
              row.user->GetWorkingSince() == 0 ? Json(nullptr) : Json(row.user->GetWorkingSince())},
             {"computer", ForJsonOrNull(row.user->GetComputer())},
             {"present", isPresenceKnown ? Json(row.isPresent) : Json(nullptr)},
             {"photo", photo.IsEmpty() ? Json(nullptr) : Json(size)},
             {"photoFile", row.photoFile.empty() ? Json(nullptr) : Json(row.photoFile)}});
    }
    if (output.json)
        output.PrintJson({{"members", std::move(list)}});
    else
        output.PrintTable(table);
}

void RunMembers(const MembersArguments& arguments, Context& context)
{
    ProjectHost host(context, arguments.project);
    host.Members().SetPhotosWanted(true);
    if (!host.RefreshMembers())
        return;
    auto rows = CollectRows(host.Members());
    const bool isPresenceKnown = AskPresence(host, rows, context.output);
    if (!arguments.photos.empty())
        WritePhotos(rows, arguments.photos);
    Print(rows, isPresenceKnown, context.output);
}

}  // namespace

void DeclareMembers(CLI::App& command, Context& context)
{
    command.footer("working: a session is open; present: a client is connected now.");
    DefineCommand(command, context, &RunMembers);
}
