#pragma once

#include <string>

/// Questions to the person at the terminal; shown on standard error, answered on standard input.
namespace Question {

/// Whether somebody is there to answer.
[[nodiscard]] bool CanAsk();
void Show(const std::string& line);
/// The line that was typed, or `proposed` for an empty one.
[[nodiscard]] std::string Ask(const std::string& what, const std::string& proposed);
/// Yes or no; no for anything that is not clearly yes.
[[nodiscard]] bool Agrees(const std::string& what);

/// Goes on only after a yes. Throws OV::IllegalArgumentException when nobody is there, and
/// CommandFailure after a no.
void Require(const std::string& what);

}  // namespace Question
