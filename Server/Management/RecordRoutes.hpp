#pragma once

#include "Management/ManagementRights.hpp"
#include "Management/RecordStore.hpp"
#include "Management/Rules.hpp"
#include "Router.hpp"
#include "SignalHub.hpp"

#include "OVRoot/Guid.hpp"
#include "SyncraProtocol/Detail/ManagementRecords.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <algorithm>
#include <functional>

namespace Nexar {

/// What the routes of every family need.
struct ManagementContext {
    Database& database;
    ManagementRights& rights;
    SignalHub& signals;
};

[[nodiscard]] inline OV::UniString NewId()
{
    return OV::Guid::Generate().ToText();
}

/// The requests that every family of records has. A family with more to it derives and overrides.
template <class Record>
class RecordRoutes {
public:
    explicit RecordRoutes(const ManagementContext& context)
        : context_(context), store_(context.database)
    {}
    virtual ~RecordRoutes() = default;
    RecordRoutes(const RecordRoutes&) = delete;
    RecordRoutes& operator=(const RecordRoutes&) = delete;

    virtual void AddRoutes(Router& router)
    {
        router.Add("GET", Path(), [this](const Call& call) { return List(call); });
        router.Add("GET", Path("/{}"), [this](const Call& call) { return Get(call); });
        router.Add("PUT", Path("/{}"), [this](const Call& call) { return Update(call); });
        router.Add("DELETE", Path("/{}"), [this](const Call& call) { Delete(call); });
        AddInsertRoute(router);
    }

protected:
    using Chooser = std::function<bool(const Record&)>;

    [[nodiscard]] static std::string Path(const std::string& rest = "")
    {
        return std::string("/root/syncrav2/") + Family<Record>::path + rest;
    }
    virtual void AddInsertRoute(Router& router)
    {
        router.Add("POST", Path(), [this](const Call& call) {
            RequireWriter(call);
            return Insert(call.Read<Record>(), [](const auto&) {});
        });
    }

    /// Which records a list is about, before rights.
    [[nodiscard]] virtual std::vector<Record> Chosen(const Call& call)
    {
        return call.request.query.contains("name") ? store_.Named(call.QueryText("name"))
                                                   : store_.List();
    }
    /// The part of the list that the call is about; nothing when that is all of it.
    [[nodiscard]] virtual std::optional<Records::ItemPage<Record>> Part(const Call&)
    {
        return std::nullopt;
    }
    /// Which records the user may read.
    [[nodiscard]] virtual Chooser Readable(const Call& call)
    {
        const bool all =
            Family<Record>::readers == Readers::Everybody || context_.rights.IsAnyManager(call);
        return [all](const Record&) { return all; };
    }
    /// The id that the first {} of a path stands for.
    [[nodiscard]] virtual std::string IdOf(const Call& call) { return call.parameters[0]; }
    /// Throws Refusal for who may not write.
    void RequireWriter(const Call& call)
    {
        if constexpr (Family<Record>::writers == Writers::ProjectManagers)
            context_.rights.RequireProjectManager(call);
        else
            context_.rights.RequireAdministrator(call);
    }
    /// Rules of a change beyond those of the record itself, within its transaction.
    virtual void CheckUpdate(const Call&, const Record& before, const Record& after)
    {
        if constexpr (requires { before.builtIn; })
            if (before.builtIn && before.name != after.name)
                Rules::Break("What is built in cannot be renamed.");
    }
    virtual void CheckDelete(const Call&, const Record& record)
    {
        if constexpr (requires { record.builtIn; })
            if (record.builtIn)
                Rules::Break("What is built in cannot be deleted.");
    }
    /// The projects whose members see a change of the record.
    [[nodiscard]] std::vector<std::string> ProjectsOf(const std::string& id)
    {
        return store_.ProjectsOf(id);
    }
    /// Tells those whom a change concerns; `projects` are ProjectsOf.
    virtual void Updated(const Record& before, const Record& after,
                         const std::vector<std::string>& projects)
    {
        if (!(before == after))
            for (const auto& project : projects)
                context_.signals.Raise(project, Syncra::Protocol::SignalId::MembersChanged);
    }
    virtual void Deleted(const Record&, const std::vector<std::string>&) {}

    /// The new record; `more` is done in its transaction.
    Record Insert(Record record, const std::function<void(const Record&)>& more)
    {
        record.id = NewId();
        return Add(record, more);
    }
    Record Add(const Record& record, const std::function<void(const Record&)>& more)
    {
        Transaction transaction(context_.database);
        store_.Write(record);
        more(record);
        transaction.Commit();
        return store_.Require(OV::ToUtf8(record.id));
    }

    [[nodiscard]] RecordStore<Record>& Store() { return store_; }

    const ManagementContext& context_;

private:
    [[nodiscard]] Records::ItemPage<Record> List(const Call& call)
    {
        if (auto part = Part(call))
            return *std::move(part);
        auto records = Chosen(call);
        std::erase_if(records, std::not_fn(Readable(call)));
        return {std::nullopt, std::move(records)};
    }
    [[nodiscard]] Record Get(const Call& call)
    {
        auto record = store_.Require(IdOf(call));
        if (!Readable(call)(record))
            throw Refusal(Syncra::Protocol::ErrorCode::AccessDenied,
                          "Only those who manage members may read this.");
        return record;
    }
    [[nodiscard]] Record Update(const Call& call)
    {
        RequireWriter(call);
        const auto id = IdOf(call);
        Transaction transaction(context_.database);
        const auto before = store_.Require(id);
        auto record = call.Read<Record>();
        record.id = before.id;
        CheckUpdate(call, before, record);
        store_.Write(record);
        auto after = store_.Require(id);
        const auto projects = store_.ProjectsOf(id);
        transaction.Commit();
        Updated(before, after, projects);
        return after;
    }
    void Delete(const Call& call)
    {
        RequireWriter(call);
        const auto id = IdOf(call);
        Transaction transaction(context_.database);
        const auto record = store_.Require(id);
        CheckDelete(call, record);
        const auto projects = store_.ProjectsOf(id);
        store_.Delete(id);
        transaction.Commit();
        Deleted(record, projects);
    }

    RecordStore<Record> store_;
};

}  // namespace Nexar
