#include "Dlg/Headless/HeadlessDialog.hpp"

#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/SecureWipe.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <algorithm>
#include <string>

namespace Dlg {

namespace {

/// A dialog that nothing closes must not hold up its test for ever.
constexpr std::uint32_t PatienceMilliseconds = 60'000;

[[noreturn]] void Refuse(int dialog, int item, const char* reason)
{
    throw OV::IllegalArgumentException("Item " + std::to_string(item) + " of dialog " +
                                       std::to_string(dialog) + " " + reason);
}

}  // namespace

HeadlessDialog::HeadlessDialog(HeadlessToolkit& toolkit, const DialogDescription& description,
                               WindowEvents& events)
    : toolkit_(toolkit), description_(description), events_(events), title_(description.title)
{
    for (const ItemDescription& item : description.items) {
        items_[item.number].type = item.type;
        if (item.type != ItemType::PopUp)
            SetText(item.number, item.label);
    }
}

HeadlessDialog::~HeadlessDialog()
{
    for (auto& [number, item] : items_)
        if (item.type == ItemType::Password)
            OV::SecureWipe(item.text);
}

HeadlessDialog::ItemState& HeadlessDialog::At(int item)
{
    const auto found = items_.find(item);
    if (found == items_.end())
        Refuse(description_.number, item, "is not there.");
    return found->second;
}

const HeadlessDialog::ItemState& HeadlessDialog::At(int item) const
{
    return const_cast<HeadlessDialog*>(this)->At(item);
}

HeadlessDialog::ItemState& HeadlessDialog::Usable(int item, std::initializer_list<ItemType> types)
{
    ItemState& state = At(item);
    if (std::find(types.begin(), types.end(), state.type) == types.end())
        Refuse(description_.number, item, "is of another type.");
    if (!state.isEnabled)
        Refuse(description_.number, item, "is disabled.");
    if (!isRunning_)
        Refuse(description_.number, item, "cannot be used: the dialog is closing.");
    return state;
}

void HeadlessDialog::Press(int button)
{
    (void)Usable(button, {ItemType::Button});
    events_._ItemUsed(button);
}

void HeadlessDialog::Choose(int popUp, int entry)
{
    ItemState& state = Usable(popUp, {ItemType::PopUp});
    if (entry < 1 || static_cast<std::size_t>(entry) > state.entries.size() ||
        state.entries[static_cast<std::size_t>(entry) - 1] == u"-")
        Refuse(description_.number, popUp, "has no such entry to choose.");
    state.selection = entry;
    events_._ItemUsed(popUp);
}

void HeadlessDialog::Type(int edit, const OV::UniString& text)
{
    Usable(edit, {ItemType::Edit, ItemType::Password}).text = text;
    events_._ItemUsed(edit);
}

void HeadlessDialog::SelectRow(int listBox, int row)
{
    ItemState& state = Usable(listBox, {ItemType::ListBox});
    if (row < 1 || row > GetRows(listBox).GetCount())
        Refuse(description_.number, listBox, "has no such row.");
    state.selection = row;
    events_._ItemUsed(listBox);
}

void HeadlessDialog::PressHeader(int listBox, int column)
{
    if (column < 1 ||
        static_cast<std::size_t>(column) > Usable(listBox, {ItemType::ListBox}).columns.size())
        Refuse(description_.number, listBox, "has no such column.");
    events_._HeaderUsed(listBox, column);
}

void HeadlessDialog::PickDate(int item, Date date)
{
    Usable(item, {ItemType::Date}).date = date;
    events_._ItemUsed(item);
}

void HeadlessDialog::SendIdle()
{
    if (isIdleEnabled_)
        events_._Idle();
}

const ListRows& HeadlessDialog::GetRows(int listBox) const
{
    static const auto& none = *new TextRows({});
    const auto& rows = At(listBox).rows;
    return rows ? *rows : none;
}

void HeadlessDialog::SetText(int item, const OV::UniString& text)
{
    ItemState& state = At(item);
    if (state.type == ItemType::Password)
        OV::SecureWipe(state.text);
    else
        toolkit_.RecordText(description_.number, item, text);
    state.text = text;
}

void HeadlessDialog::ClearEntries(int popUp)
{
    At(popUp).entries.clear();
    At(popUp).selection = 0;
}

void HeadlessDialog::AppendEntry(int popUp, const OV::UniString& text)
{
    At(popUp).entries.push_back(text);
    toolkit_.RecordText(description_.number, popUp, text);
}

void HeadlessDialog::SetColumns(int listBox, const OV::Array<ListColumn>& columns)
{
    At(listBox).columns = columns;
}

void HeadlessDialog::SetRows(int listBox, std::shared_ptr<const ListRows> rows)
{
    At(listBox).rows = std::move(rows);
    At(listBox).selection = 0;
}

void HeadlessDialog::RunScript() noexcept
{
    try {
        script_(*this);
    } catch (...) {
        scriptFailure_ = std::current_exception();
        isRunning_ = false;
    }
}

void HeadlessDialog::RunModal()
{
    script_ = toolkit_.TakeScript(description_.number);
    isRunning_ = true;
    // The loop may outlast the dialog, whose script then has nothing to do any more.
    const auto self = std::make_shared<HeadlessDialog*>(this);
    SYCB::MessageLoop::Post(OV::MakeTask([dialog = std::weak_ptr<HeadlessDialog*>(self)] {
        if (const auto open = dialog.lock())
            (*open)->RunScript();
    }));
    const bool isClosed =
        SYCB::MessageLoop::RunUntil([this] { return !isRunning_; }, PatienceMilliseconds);
    isRunning_ = false;
    if (scriptFailure_)
        std::rethrow_exception(std::exchange(scriptFailure_, nullptr));
    if (!isClosed)
        throw OV::IllegalArgumentException("Nothing closes dialog " +
                                           std::to_string(description_.number) + ".");
}

}  // namespace Dlg
