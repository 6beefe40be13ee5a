#pragma once

#include "ProjectHost.hpp"

#include <functional>

/// The mail commands share how they are told a project, and how they end.
using MailAction = std::function<void(ProjectHost&, Context&)>;

/// Adds `name` to `mail`; `addOptions` may be empty. The action runs with the project's host.
CLI::App* AddMailAction(CLI::App& mail, Context& context, const std::string& name,
                        const std::string& description, MailAction action);

/// The mail of that id in the box; an error message and null when there is none.
[[nodiscard]] OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context,
                                                const std::string& id);

void AddMailSendCommands(CLI::App& mail, Context& context);
void AddMailReadCommands(CLI::App& mail, Context& context);
