#include "ExitCode.hpp"

#include "SYCommunication/CommunicationException.hpp"

ExitCode ExitCodeOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const OV::Exception& error) {
        for (const OV::Exception* each = &error; each != nullptr; each = each->GetCause())
            if (dynamic_cast<const Communication::CommunicationException*>(each) != nullptr)
                return ExitCode::Offline;
    } catch (...) {
    }
    return ExitCode::Failure;
}
