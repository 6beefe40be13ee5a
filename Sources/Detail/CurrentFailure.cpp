#include "Detail/CurrentFailure.hpp"

#include "OVRoot/MessageWithCauses.hpp"

namespace SYC::Detail {

OV::UniString DescribeCurrentFailure()
{
    try {
        throw;
    } catch (const OV::Exception& failure) {
        return OV::MessageWithCauses(failure);
    } catch (const std::bad_alloc&) {
        return u"There is not enough memory.";
    } catch (const std::exception& failure) {
        return OV::FromUtf8(failure.what());
    } catch (...) {
        return u"An exception of a foreign type was thrown.";
    }
}

}  // namespace SYC::Detail
