// A row of a list that may be too long for what draws it: in single precision a row's place far down in the list and how
// far that is scrolled are both some points off, a thousand million points down some dozens. So much is made up for inside
// the row, where all numbers are small: what it holds lies at -misplacedBy.
import QtQuick

Item {
    id: row

    readonly property real scrolled: ListView.view ? ListView.view.contentY : 0
    readonly property real misplacedBy: Math.fround(row.y) - Math.fround(row.scrolled) - (row.y - row.scrolled)

    width: ListView.view ? ListView.view.width : 0
}
