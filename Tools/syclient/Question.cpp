#include "Question.hpp"

#include "ExitCode.hpp"
#include "OVRoot/Terminal.hpp"
#include "Output.hpp"

#include <iostream>

namespace Question {

namespace {

std::string ReadLine()
{
    std::string line;
    std::getline(std::cin, line);
    return line;
}

}  // namespace

bool CanAsk()
{
    return OV::Terminal::IsTerminal(OV::Terminal::Stream::Input);
}

void Show(const std::string& line)
{
    std::cerr << line << '\n';
}

std::string Ask(const std::string& what, const std::string& proposed)
{
    std::cerr << what;
    if (!proposed.empty())
        std::cerr << " [" << ForDisplay(OV::FromUtf8(proposed)) << "]";
    std::cerr << ": " << std::flush;
    const std::string answer = ReadLine();
    return answer.empty() ? proposed : answer;
}

bool Agrees(const std::string& what)
{
    std::cerr << what << " [y/N] " << std::flush;
    const std::string answer = ReadLine();
    return answer == "y" || answer == "Y" || answer == "yes";
}

void Require(const std::string& what)
{
    if (!CanAsk())
        throw OV::IllegalArgumentException(
            OV::StringView("Nobody is there to be asked: --yes does it without a question."));
    if (!Agrees(what))
        throw CommandFailure(ExitCode::Failure, u"Nothing was changed.");
}

}  // namespace Question
