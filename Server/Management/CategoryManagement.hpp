#pragma once

#include "Management/RecordRoutes.hpp"

namespace Nexar {

/// Project categories, and putting several together.
class CategoryManagement final : public RecordRoutes<Records::ProjectCategory> {
public:
    using RecordRoutes::RecordRoutes;

    void AddRoutes(Router& router) override;

private:
    void Merge(const Call& call);
};

}  // namespace Nexar
