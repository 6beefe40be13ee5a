#pragma once

#include "Messaging/ClientMail.hpp"

namespace SYC {

/// A message of the server cannot be read as a mail, or a mail cannot become one.
class MailConversionException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(MailConversionException)
};

/// Mails as messages of the project server and back. ClientMail's conversions end here.
class MailMessageConversion {
public:
    /// Whether the message is of the current format; others go through ClientMail's constructor.
    [[nodiscard]] static bool IsCurrentFormat(const Syncra::Protocol::Message& message);

    [[nodiscard]] static OV::ChannelStatus ToMail(const Syncra::Protocol::Message& message,
                                                  ClientMail& mail);
    static void ToMailFromOlderFormat(const Syncra::Protocol::Message& message, ClientMail& mail);
    [[nodiscard]] static OV::ChannelStatus ToMessage(ClientMail& mail,
                                                     Syncra::Protocol::Message& message);

private:
    static void TakeFlagsAndTime(const Syncra::Protocol::Message& message, ClientMail& mail);
    static void PutHeader(const ClientMail& mail, Syncra::Protocol::Message& message);
};

}  // namespace SYC
