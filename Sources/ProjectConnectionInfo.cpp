#include "ProjectConnectionInfo.hpp"

namespace SYC::Inner {

void ProjectConnectionInfo::Clear()
{
    *this = {};
}

}  // namespace SYC::Inner
