// What the navigation bar shows of one screen: the way back, its title in two lines, and what its right button does.
//
// The title stands in the middle of the bar as long as it can; before it moves aside the button at its left says less,
// and in the end the title itself gives up its middle. Nothing lies over anything else.
import QtQuick
import Slicewise.Ui

Item {
    id: item

    required property SZAViewController screen
    property SZAViewController below: null ///< null: there is no way back
    property bool touchable: true
    property bool mirrored: false
    property real shift: 0 ///< of the title, while screens change

    readonly property SZANavItem navigationItem: screen === null ? null : screen.navigationItem
    readonly property TitleLabel titleView: navigationItem === null ? null : navigationItem.titleView
    readonly property bool hasSpinner: navigationItem !== null && navigationItem.rightButtonIsSpinner
    readonly property bool hasButton: navigationItem !== null && navigationItem.hasRightButton && !hasSpinner
    // The title stays where it is: it would jump, and jump back.
    readonly property bool hidesBack: navigationItem !== null && navigationItem.hidesBackButton
    readonly property string backTitle: below === null ? "" : below.navigationItem.title

    readonly property real gap: Theme.spacing
    readonly property real titleNatural: Math.ceil(Math.max(titleText.implicitWidth, subtitleText.implicitWidth))
    readonly property real rightRoom: hasButton ? rightButton.width : hasSpinner ? Theme.touchSize : gap
    // What the button at the left may take for the title to stay whole and in the middle.
    readonly property real backRoom: (width - titleNatural) / 2 - gap
    readonly property real backChrome: 2 * backButton.padding + backButton.arrowRoom
    readonly property real fullBack: backChrome + Math.ceil(fullProbe.implicitWidth)
    readonly property real shortBack: backChrome + Math.ceil(shortProbe.implicitWidth)
    // An ellipsis behind a handful of letters says more than "Back"; behind fewer it does not.
    readonly property real leastCutBack: backChrome + 5.5 * Theme.buttonTextSize
    readonly property bool backIsFull: backTitle.length > 0 && fullBack <= Math.max(backRoom, shortBack)
    readonly property bool backIsCut: !backIsFull && backTitle.length > 0 && backRoom >= leastCutBack
    readonly property bool backIsShort: !backIsFull && !backIsCut && width >= 300 * Theme.textScale
    readonly property real leftRoom: below === null ? gap : backButton.width
    readonly property real titleRoom: Math.max(0, width - leftRoom - rightRoom - 2 * gap)
    readonly property real titleWidth: Math.min(titleNatural, titleRoom)

    signal backTapped
    signal rightTapped

    Accessible.role: Accessible.ToolBar
    Accessible.name: navigationItem === null ? "" : navigationItem.title

    BarButton {
        id: backButton

        objectName: "backButton"
        x: item.mirrored ? item.width - width : 0
        anchors.verticalCenter: parent.verticalCenter
        visible: item.below !== null && opacity > 0
        opacity: item.hidesBack ? 0 : 1
        enabled: !item.hidesBack
        touchable: item.touchable
        arrow: true
        mirrored: item.mirrored
        text: item.backIsFull || item.backIsCut ? item.backTitle : item.backIsShort ? shortProbe.text : ""
        textWidth: item.backIsFull ? Math.ceil(fullProbe.implicitWidth)
            : item.backIsCut ? Math.max(0, item.backRoom - item.backChrome) : Math.ceil(shortProbe.implicitWidth)
        spokenText: item.backTitle.length > 0 ? qsTr("Back to %1").arg(item.backTitle) : shortProbe.text
        onTapped: item.backTapped()

        Behavior on opacity {
            NumberAnimation { duration: 250; easing.type: Easing.InOutQuad }
        }
    }
    Text {
        id: fullProbe

        visible: false
        textFormat: Text.PlainText
        text: item.backTitle
        font.pixelSize: Theme.buttonTextSize
    }
    Text {
        id: shortProbe

        visible: false
        textFormat: Text.PlainText
        text: qsTr("Back")
        font.pixelSize: Theme.buttonTextSize
    }

    Item {
        id: title

        readonly property real leftEdge: (item.mirrored ? item.rightRoom : item.leftRoom) + item.gap
        readonly property real rightEdge: item.width - (item.mirrored ? item.leftRoom : item.rightRoom) - item.gap

        objectName: "title"
        x: Math.round(Math.max(leftEdge, Math.min((item.width - width) / 2, rightEdge - width))) + item.shift
        anchors.verticalCenter: parent.verticalCenter
        width: item.titleWidth
        height: titleText.height + (subtitleText.visible ? subtitleText.height : 0)

        Accessible.role: Accessible.Heading
        Accessible.name: subtitleText.text.length > 0 ? qsTr("%1, %2").arg(titleText.text).arg(subtitleText.text)
                                                      : titleText.text

        Text {
            id: titleText

            objectName: "titleLine"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            maximumLineCount: 1
            textFormat: Text.PlainText
            text: item.titleView !== null ? item.titleView.titleLine
                : item.navigationItem !== null ? item.navigationItem.title : ""
            color: item.titleView !== null ? item.titleView.color : "#000000"
            font: item.titleView !== null ? item.titleView.titleFont
                : Qt.font({ family: Theme.systemText.font.family, bold: true, pixelSize: Theme.rowTextSize })
            style: item.titleView !== null && item.titleView.shadowColor.valid ? Text.Sunken : Text.Normal
            styleColor: item.titleView !== null && item.titleView.shadowColor.valid ? item.titleView.shadowColor
                                                                                   : "transparent"
            Accessible.ignored: true
        }
        Text {
            id: subtitleText

            objectName: "subtitleLine"
            visible: item.titleView !== null
            anchors.top: titleText.bottom
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            maximumLineCount: 1
            textFormat: Text.PlainText
            text: item.titleView !== null ? item.titleView.subtitleLine : ""
            color: titleText.color
            font: item.titleView !== null ? item.titleView.subtitleFont : Theme.systemText.font
            style: titleText.style
            styleColor: titleText.styleColor
            Accessible.ignored: true
        }
    }

    BarButton {
        id: rightButton

        objectName: "rightButton"
        x: item.mirrored ? 0 : item.width - width
        anchors.verticalCenter: parent.verticalCenter
        visible: item.hasButton
        touchable: item.touchable
        mirrored: item.mirrored
        text: item.navigationItem === null ? "" : item.navigationItem.rightButtonTitle
        tint: item.navigationItem !== null && item.navigationItem.rightButtonTint.valid
            ? item.navigationItem.rightButtonTint : Theme.barButtonColor
        onTapped: item.rightTapped()
    }
    ActivityIndicator {
        objectName: "spinner"
        x: Math.round((item.mirrored ? Theme.touchSize / 2 : item.width - Theme.touchSize / 2) - width / 2)
        anchors.verticalCenter: parent.verticalCenter
        visible: item.hasSpinner
        color: Theme.dark ? "#3c4657" : "#808080"
    }
}
