// objectNames: "app:<name>" (the tile; clicking or Enter opens the app), "appIcon:<name>" (its
// icon), "appActions:<name>" (its menu button), "launchAction:<name>", "editAction:<name>",
// "duplicateAction:<name>", "deleteAction:<name>" (the menu's items).
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// One app on the home screen: its icon, name, browser and kind. Activating it opens the app;
// its menu (the "…" button, a right click, the menu key or Shift+F10) edits, duplicates or
// deletes it; Delete asks to delete it.
ItemDelegate {
    id: tile

    required property HomescreenStore home
    required property var model
    readonly property string appId: model.id
    readonly property string appName: model.name

    function launch() { home.launchApp(appId) }
    function edit() { home.editApp(appId) }
    function duplicate() { home.duplicateApp(appId) }
    function remove() { home.deleteApp(appId) }
    // The menu is made the first time it is asked for: a home screen of many tiles starts faster.
    property Menu actions: null
    function openMenu() {
        if (!actions)
            actions = actionsMenu.createObject(tile)
        actions.popup(menuButton, 0, menuButton.height)
    }

    objectName: "app:" + appName
    padding: fontInfo.height / 2
    hoverEnabled: true
    Accessible.name: qsTr("%1, %2, %3").arg(appName).arg(model.browserName).arg(kindLabel.text)
    Accessible.description: qsTr("Press Enter to open, the menu key for more actions")

    onClicked: launch()
    Keys.onReturnPressed: launch()
    Keys.onEnterPressed: launch()
    Keys.onDeletePressed: remove()
    Keys.onMenuPressed: openMenu()
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier)
        if (event.accepted)
            openMenu()
    }

    FontMetrics { id: fontInfo }

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: eventPoint => actions.popup()
    }

    background: Rectangle {
        radius: fontInfo.height / 2
        color: tile.down ? tile.palette.midlight
             : tile.hovered || tile.activeFocus ? tile.palette.alternateBase : tile.palette.base
        border.color: tile.activeFocus ? tile.palette.highlight : tile.palette.mid
        border.width: tile.activeFocus ? 2 : 1
    }

    contentItem: ColumnLayout {
        spacing: fontInfo.height / 3

        Image {
            objectName: "appIcon:" + tile.appName
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: fontInfo.height * 4
            Layout.preferredHeight: fontInfo.height * 4
            source: tile.model.iconUrl
            asynchronous: true
            sourceSize: Qt.size(width, height)
            fillMode: Image.PreserveAspectFit
            smooth: true
            Accessible.ignored: true

            // An app without an icon file shows its initial on its colour, as its drawn icon does.
            Rectangle {
                anchors.fill: parent
                visible: parent.status !== Image.Ready
                radius: width * 0.225
                color: tile.model.initialColor
                Label {
                    anchors.centerIn: parent
                    text: tile.model.initial
                    font.pixelSize: parent.height / 2
                    font.bold: true
                    color: "white"
                }
            }
        }

        Label {
            Layout.fillWidth: true
            text: tile.appName
            font.bold: true
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
            color: tile.palette.text
        }

        RowLayout {
            Layout.fillWidth: true
            Label {
                id: kindLabel
                Layout.fillWidth: true
                text: (tile.model.isTabbed ? qsTr("Tabbed") : qsTr("Standard")) + " · " + tile.model.browserName
                elide: Text.ElideRight
                opacity: 0.75
                color: tile.palette.text
            }
            ToolButton {
                id: menuButton
                objectName: "appActions:" + tile.appName
                text: "…"
                focusPolicy: Qt.StrongFocus
                Accessible.name: qsTr("Actions for %1").arg(tile.appName)
                ToolTip.text: Accessible.name
                ToolTip.visible: hovered
                ToolTip.delay: 600
                onClicked: tile.openMenu()
            }
        }
    }

    Component {
        id: actionsMenu
        Menu {
            objectName: "appMenu:" + tile.appName
            MenuItem {
                objectName: "launchAction:" + tile.appName
                text: qsTr("Open")
                onTriggered: tile.launch()
            }
            MenuItem {
                objectName: "editAction:" + tile.appName
                text: qsTr("Edit…")
                onTriggered: tile.edit()
            }
            MenuItem {
                objectName: "duplicateAction:" + tile.appName
                text: qsTr("Duplicate")
                onTriggered: tile.duplicate()
            }
            MenuSeparator {}
            MenuItem {
                objectName: "deleteAction:" + tile.appName
                text: qsTr("Delete…")
                onTriggered: tile.remove()
            }
        }
    }
}
