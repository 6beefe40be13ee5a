#include "Management/CategoryManagement.hpp"

namespace Nexar {

void CategoryManagement::AddRoutes(Router& router)
{
    RecordRoutes::AddRoutes(router);
    router.Add("POST", Path("/{}/merge"), [this](const Call& call) { Merge(call); });
}

void CategoryManagement::Merge(const Call& call)
{
    RequireWriter(call);
    Transaction transaction(context_.database);
    const auto target = Store().Require(IdOf(call));
    for (const auto& id : call.Read<Records::MergedCategories>().value) {
        if (id == target.id)
            Rules::Break("A category cannot be merged into itself.");
        const auto category = Store().Require(OV::ToUtf8(id));
        context_.database.Prepare("UPDATE projects SET category = $2 WHERE category = $1")
            .Bind(1, OV::ToUtf8(category.name))
            .Bind(2, OV::ToUtf8(target.name))
            .Run();
        Store().Delete(OV::ToUtf8(id));
    }
    transaction.Commit();
}

}  // namespace Nexar
