#include "ComputerName.hpp"

#include "OVRoot/System.hpp"

namespace SYC {

void GetClientComputerName(OV::UniString& out)
{
    out.clear();
    out = OV::System::ComputerName();
}

}  // namespace SYC
