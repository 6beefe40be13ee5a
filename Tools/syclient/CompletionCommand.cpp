#include "Command.hpp"
#include "CommandTree.hpp"
#include "Commands.hpp"

#include "Context.hpp"
#include "ManagementTool/ConnectionProfiles.hpp"
#include "OVRoot/Exception.hpp"
#include "RegisteredProjects.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <set>

namespace {

using namespace CommandTree;
using Syncra::Server::ManagementTool::GUI::ConnectionProfile;
using Syncra::Server::ManagementTool::GUI::ConnectionProfiles;

// Each shell asks "syclient completion words" and shows what it answers. A line is a word, a tab
// and its description; ":files" and ":folders" hand the word over to the shell.
constexpr const char* Bash = R"(_syclient() {
    local cur words cword line IFS=$'\n'
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n := cur words cword
    else
        words=("${COMP_WORDS[@]}") cword=$COMP_CWORD cur=${COMP_WORDS[COMP_CWORD]}
    fi
    COMPREPLY=()
    while IFS= read -r line; do
        line=${line%%$'\t'*}
        case $line in
            :files) compopt -o filenames; COMPREPLY+=($(compgen -f -- "$cur")) ;;
            :folders) compopt -o filenames; COMPREPLY+=($(compgen -d -- "$cur")) ;;
            *) case $cur in [\"\']*) ;; *) printf -v line %q "$line" ;; esac; COMPREPLY+=("$line") ;;
        esac
    done < <("${words[0]}" completion words -- "${words[@]:1:cword}" 2>/dev/null)
    declare -F __ltrim_colon_completions >/dev/null && __ltrim_colon_completions "$cur"
}
complete -F _syclient syclient
)";
constexpr const char* Zsh = R"(#compdef syclient
_syclient() {
    local line
    local -a described
    for line in "${(@f)$("${words[1]}" completion words -- "${(@Q)words[2,CURRENT]}" 2>/dev/null)}"; do
        case $line in
            :files) _files ;;
            :folders) _files -/ ;;
            ?*) described+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}") ;;
        esac
    done
    (( $#described )) && _describe syclient described
}
if [ "$funcstack[1]" = _syclient ]; then _syclient "$@"; else compdef _syclient syclient; fi
)";
constexpr const char* Fish = R"(function __syclient_words
    set -l tokens (commandline -opc) (commandline -ct)
    for line in (syclient completion words -- $tokens[2..-1] 2>/dev/null)
        switch $line
            case :files
                __fish_complete_path (commandline -ct)
            case :folders
                __fish_complete_directories (commandline -ct)
            case '*'
                printf '%s\n' $line
        end
    end
end
complete -c syclient -f -a '(__syclient_words)'
)";

struct ScriptArguments {
    const char* script = "";

    static void AddOptions(CLI::App&) {}
};

void PrintScript(const ScriptArguments& arguments, Context&)
{
    std::cout << arguments.script;
}

struct WordsArguments {
    const CLI::App* root = nullptr;
    std::vector<std::string> words{};

    void AddOptions(CLI::App& command)
    {
        command.add_option("words", words, "The line so far, its last word unfinished");
    }
};

/// Where a line that is being typed stands.
struct Position {
    const CLI::App* command;
    const CLI::Option* pending = nullptr;  ///< takes the next word as its value
    std::size_t positionals = 0;
};

const CLI::Option* FindOption(const CLI::App& command, const std::string& word)
{
    for (const CLI::App* each = &command; each != nullptr; each = each->get_parent())
        for (const CLI::Option* option : OptionsOf(*each))
            if (option->check_name(word))
                return option;
    return nullptr;
}

void Step(Position& at, const std::string& word, Context& context)
{
    if (std::exchange(at.pending, nullptr) != nullptr)
        return;
    if (word.starts_with('-')) {
        const auto* option = FindOption(*at.command, word);
        at.pending = option != nullptr && TakesValue(*option) ? option : nullptr;
        return;
    }
    for (const CLI::App* below : CommandsOf(*at.command))
        if (below->get_name() == word) {
            DeclareBelow(const_cast<CLI::App&>(*below), context);
            at = {below};
            return;
        }
    ++at.positionals;
}

class Candidates {
public:
    explicit Candidates(std::string begin) : begin_(std::move(begin)) {}

    void Add(const std::string& word, const std::string& description = "")
    {
        if (word.starts_with(begin_) && word.find_first_of("\r\n\t") == std::string::npos &&
            words_.insert(word).second)
            std::cout << word << '\t' << description.substr(0, description.find('\n')) << '\n';
    }
    static void HandOver(const char* kind) { std::cout << kind << '\n'; }

private:
    std::string begin_;
    std::set<std::string> words_;
};

/// What this computer knows of servers, logins and projects, without asking any server.
void AddKnown(Candidates& candidates, const std::string& what, Context& context)
{
    const ConnectionProfiles profiles;
    for (const ConnectionProfile& profile : profiles.GetProfiles())
        candidates.Add(OV::ToUtf8(what == "profile"  ? profile.name
                                  : what == "server" ? profile.serverName
                                  : what == "user"   ? profile.userName
                                                     : profile.projectName));
    if (what == "profile")
        return;
    OV::Array<SYC::CacheInfoRecord> records;
    Context::Registry().SearchCaches(context.DataFolder(), records);
    for (const auto& record : records)
        if (record.info)
            candidates.Add(OV::ToUtf8(what == "server"   ? record.info->GetServerName()
                                      : what == "user"   ? record.info->GetLoginName()
                                      : what == "folder" ? record.info->GetLocalFolderName()
                                                         : record.info->GetProjectName()));
}

void AddValues(Candidates& candidates, const CLI::Option& option, const CLI::App& command,
               Context& context)
{
    const std::string& text = option.get_option_text();
    const std::string name =
        option.get_lnames().empty() ? option.get_name(true) : option.get_lnames().front();
    if (text == "FILE")
        return Candidates::HandOver(":files");
    if (text == "DIR")
        return Candidates::HandOver(":folders");
    if (text.find('|') != std::string::npos) {
        std::istringstream words(text);
        for (std::string word; std::getline(words, word, '|');)
            candidates.Add(word);
        return;
    }
    const CLI::App* parent = command.get_parent();
    if (name == "server" || name == "user" || name == "project" || name == "profile" ||
        name == "folder")
        AddKnown(candidates, name, context);
    else if (name == "name" && parent != nullptr && parent->get_name() == "profile")
        AddKnown(candidates, "profile", context);
}

void Complete(const WordsArguments& arguments, Context& context)
{
    Position at{arguments.root};
    for (std::size_t i = 0; i + 1 < arguments.words.size(); ++i)
        Step(at, arguments.words[i], context);
    const std::string last = arguments.words.empty() ? "" : arguments.words.back();
    Candidates candidates(last);
    if (at.pending != nullptr)
        return AddValues(candidates, *at.pending, *at.command, context);
    if (last.starts_with('-')) {
        for (const CLI::App* each = at.command; each != nullptr; each = each->get_parent())
            for (const CLI::Option* option : OptionsOf(*each))
                for (const auto& name : option->get_lnames())
                    candidates.Add("--" + name, option->get_description());
        return;
    }
    if (at.positionals == 0)
        for (const CLI::App* below : CommandsOf(*at.command))
            candidates.Add(below->get_name(), below->get_description());
    std::size_t index = 0;
    for (const CLI::Option* option : OptionsOf(*at.command))
        if (option->get_positional() && index++ == at.positionals)
            AddValues(candidates, *option, *at.command, context);
}

}  // namespace

void DeclareCompletion(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    command.footer("bash: source <(syclient completion bash); zsh: source <(syclient completion "
                   "zsh); fish:\nsyclient completion fish | source. Packages install them.");
    for (const auto& [shell, script] :
         {std::pair{"bash", Bash}, std::pair{"zsh", Zsh}, std::pair{"fish", Fish}})
        DefineCommand<ScriptArguments>(AddSubcommand(command, shell, "The script for this shell"),
                                       context,
                                       [](const ScriptArguments& arguments, Context& shared) {
                                           PrintScript(arguments, shared);
                                       },
                                       {script});
    auto& words = AddSubcommand(command, "words", "What may stand in the place of the last word");
    words.group("");
    DefineCommand<WordsArguments>(
        words, context,
        [](const WordsArguments& arguments, Context& shared) { Complete(arguments, shared); },
        {command.get_parent()});
}
