#include "Faces.hpp"

#include "DesktopText.hpp"

namespace {

/// The same pixels; the image keeps a copy.
QImage ToImage(const NewDisplay::NativeImage& image)
{
    return QImage(reinterpret_cast<const uchar*>(image.GetPixels().data()), image.GetWidth(),
                  image.GetHeight(), QImage::Format_ARGB32_Premultiplied)
        .copy();
}

}  // namespace

void SetFace(Card& card, const SYC::ProjectMembers& members, const OV::UniString& login,
             const QString& fullName)
{
    card.initials = InitialsOf(fullName);
    SYC::ProjectMembers::MemberId id = 0;
    if (!members.GetUserIdFromLoginName(login, id))
        return;
    const auto& user = members.GetUserDataTable().at(id);
    card.colour = QColor::fromRgb(user.GetUserColor());
    if (!user.GetImage().IsEmpty())
        card.photo = ToImage(user.GetImage());
}
