// What a screen asks before it deletes more than files; the screen hears the answer.
import QtQuick
import Slicewise.Ui

ActionSheet {
    id: question

    required property SZAViewController screen
    readonly property UIActionSheet sheet: screen === null ? null : screen.actionSheet
    readonly property bool asked: sheet !== null && sheet.visible

    title: sheet === null ? "" : sheet.title
    actions: sheet === null ? [] : [{ text: sheet.destructiveButtonTitle, destructive: true }]
    cancelText: sheet === null ? "" : sheet.cancelButtonTitle
    fromBar: sheet !== null && sheet.origin === UIActionSheet.BarButtonItem
    onChosen: screen.actionSheetClickedButtonAtIndex(sheet.destructiveButtonIndex)
    onCancelled: screen.actionSheetClickedButtonAtIndex(sheet.cancelButtonIndex)
    onAskedChanged: {
        if (asked)
            open();
        else
            shown = false;
    }
}
