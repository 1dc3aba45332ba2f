// The desk of the targets: a dialog with items of all kinds, open all the time, and put back to its start
// ahead of each run.
#pragma once
#include "input.h"
#include "memory_disk.h"

#include "base/text.h"
#include "support/macro_desk.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"

#include <cmath>
#include <sanitizer/lsan_interface.h>

namespace Fuzz {

inline Support::MacroDesk& Desk() {
    static Support::MacroDesk desk;
    // The leak detector does not look into the heap of the items by itself.
    static const bool known =
        (__lsan_register_root_region(desk.Dialog.Items->data(),
                                     desk.Dialog.Items->size() * sizeof(Dialogs::DialogItem)),
         true);
    (void)known;
    return desk;
}

inline void ResetDesk() {
    static Dialogs::DialogRecord& dialog = Desk().Dialog;
    static const std::pmr::vector<Dialogs::DialogItem> fresh = *dialog.Items;
    Support::Now = {};
    Dialogs::ItemHooks = {};
    dialog.UserKeys.clear();
    if (!dialog.IsOpen) {
        if (!Dialogs::OpenDialog(dialog)) MemoryDisk::Broken("a dialog does not open again");
        return;
    }
    for (std::size_t i = 1; i < fresh.size(); ++i) {
        Dialogs::DialogItem& item = (*dialog.Items)[i];
        item.Key = fresh[i].Key;
        item.Key2 = fresh[i].Key2;
        item.OwnValue = fresh[i].OwnValue;
        item.OwnText = fresh[i].OwnText;
        item.PaneHidden = fresh[i].PaneHidden;
        Dialogs::LockItem(dialog, static_cast<int>(i), false);
    }
    dialog.CurrentPage = 0;
    Support::MakeMenus();
}

inline void Promise(bool kept, std::string_view what) {
    if (!kept) MemoryDisk::Broken(what);
}

inline void CheckValues() {
    using Support::Now;
    Promise(Now.Count >= 0 && Now.Count <= 100, "a number leaves its bounds");
    Promise(std::fabs(Now.Amplitude) <= 0.1, "a strict number leaves its bounds");
    Promise(Now.Gain >= 0 && Now.Gain <= 10, "a short real leaves its bounds");
    Promise(Now.Code <= 200 && Now.Level <= 1, "a byte leaves its bounds");
    Promise(std::isfinite(Now.Tau), "a number is not finite");
    Promise(Now.Mode < 4 && Now.Mode != 1, "a list shows what it has not, or what is disabled");
    Promise(Now.Pair >= 0 && Now.Pair < 4 && Now.Pair != 1, "a list shows what it has not");
    Promise(Now.Low + Now.Middle + Now.Top <= 1, "two radio buttons of a group are set");
    for (const std::string& text : {Now.Name, Now.Remarks, Now.Secret}) {
        Promise(text.size() <= 400, "a text is longer than its item");
        Promise(Texts::Utf8(text) == text, "a text is no text");
    }
    Promise(!Dialogs::Tracking, "the toolkit still tracks");
}

}
