#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/DateItem.hpp"
#include "Dlg/EditItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/ProgressItem.hpp"
#include "Dlg/TextItem.hpp"

#include <functional>

/// A dialog with one item of each type, which writes down what it hears.
class AllItemsDialog : public Dlg::ModalDialog,
                       public Dlg::PanelObserver,
                       public Dlg::ButtonItemObserver,
                       public Dlg::PopUpItemObserver,
                       public Dlg::ListBoxObserver,
                       public Dlg::DateItemObserver {
public:
    enum { Ok = 1, Cancel, Text, Edit, PopUp, List, Day, Icon, Line, Bar };
    static constexpr int Number = 1;

    static const Dlg::DialogDescription& Description()
    {
        using Dlg::ItemType;
        static const Dlg::DialogDescription description{
            Number,
            u"All Items",
            420,
            300,
            {{Text, ItemType::Text, u"Rows & days:", {12, 12, 400, 20}, {}},
             {Edit, ItemType::Edit, u"", {12, 40, 190, 28}, {}},
             {PopUp, ItemType::PopUp, u"Choose", {212, 40, 200, 28}, {}},
             {Day, ItemType::Date, u"Day", {12, 76, 190, 28}, {}},
             {List, ItemType::ListBox, u"Rows", {12, 112, 396, 130}, {false, false, true, true}},
             {Bar, ItemType::Progress, u"", {60, 262, 120, 24}, {false, true, false, false}},
             {Line, ItemType::Separator, u"", {12, 248, 396, 4}, {false, true, true, false}},
             {Icon,
              ItemType::Icon,
              u"",
              {12, 256, 36, 36},
              {false, true, false, false},
              Dlg::Picture::Information},
             {Cancel, ItemType::Button, u"Cancel", {208, 260, 96, 28}, {true, true, false, false}},
             {Ok,
              ItemType::Button,
              u"OK",
              {312, 260, 96, 28},
              {true, true, false, false},
              Dlg::Picture::None,
              true}}};
        return description;
    }

    AllItemsDialog() : ModalDialog(Description())
    {
        Attach(*this);
        ok.Attach(*this);
        cancel.Attach(*this);
        popUp.Attach(*this);
        list.Attach(*this);
        day.Attach(*this);
    }

    Dlg::ButtonItem ok{*this, Ok};
    Dlg::ButtonItem cancel{*this, Cancel};
    Dlg::TextItem text{*this, Text};
    Dlg::EditItem edit{*this, Edit};
    Dlg::PopUpItem popUp{*this, PopUp};
    Dlg::ListBox list{*this, List};
    Dlg::DateItem day{*this, Day};
    Dlg::ProgressItem bar{*this, Bar};
    OV::Array<std::string> heard;
    std::function<void()> onOpened = [] {};

private:
    void _PanelOpened(Dlg::Panel&) override
    {
        heard.push_back("opened");
        list.SetColumns({{u"Name", 200, false}, {u"Size", 80, true}});
        list.SetRows({{u"first", u"1"}, {u"second", u"22"}});
        popUp.Append(u"R&D");
        popUp.AppendSeparator();
        popUp.Append(u"other");
        day.SetDate({2024, 2, 29});
        onOpened();
    }
    void _PanelIdle(Dlg::Panel&) override { heard.push_back("idle"); }
    void _PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult result) override
    {
        heard.push_back(result == Dlg::DialogResult::Accept ? "accept" : "cancel");
    }
    void _PanelClosed(Dlg::Panel&) override { heard.push_back("closed"); }
    void _PanelResized(Dlg::Panel&) override { heard.push_back("resized"); }
    void _ButtonClicked(Dlg::ButtonItem& button) override
    {
        PostCloseRequest(button.GetNumber() == Ok ? Dlg::DialogResult::Accept
                                                  : Dlg::DialogResult::Cancel);
    }
    void _PopUpSelected(Dlg::PopUpItem& item) override
    {
        heard.push_back("entry " + OV::ToUtf8(item.GetText(item.GetSelected())));
    }
    void _RowSelected(Dlg::ListBox& item) override
    {
        heard.push_back("row " + OV::ToUtf8(item.GetRows().GetText(item.GetSelected(), 1)));
    }
    void _HeaderPressed(Dlg::ListBox& item, int column) override
    {
        heard.push_back("column " + std::to_string(column));
        item.SetSortMark(column, false);
        bar.Show(1, 4);
    }
    void _DateChanged(Dlg::DateItem& item) override
    {
        heard.push_back("day " + std::to_string(item.GetDate().day));
    }
};
