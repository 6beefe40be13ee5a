#include "IO/IOException.hpp"

namespace IO {

IOException::IOException(ErrorCode code, OV::UniStringView operation, const Location& place,
                         OV::StringView reason, OV::SourcePlace source, Step step)
    : Exception(OV::UniString(operation) + u" \"" + place.ToDisplayText() + u"\": " +
                    OV::FromUtf8(reason) + u".",
                source),
      code_(code), location_(place), step_(step)
{}

}  // namespace IO
