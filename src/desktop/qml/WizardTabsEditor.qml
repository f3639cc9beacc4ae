import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// The sites a tabbed app opens, in tab order. Blank rows may stand while editing; the store
// leaves them out of the app.
// objectNames: tabsEditor, tabField:<row>, tabUpButton:<row>, tabDownButton:<row>,
// tabRemoveButton:<row>, addTabButton
ColumnLayout {
    id: editor
    objectName: "tabsEditor"
    property TabsModel tabs
    spacing: 6

    Label {
        visible: tabRepeater.count === 0
        text: qsTr("No tabs yet: the app's address opens as its first tab.")
        opacity: 0.7
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }
    Repeater {
        id: tabRepeater
        model: editor.tabs
        delegate: RowLayout {
            required property int index
            required property string url
            Layout.fillWidth: true
            Label { text: (index + 1) + "." }
            TextField {
                objectName: "tabField:" + index
                text: url
                placeholderText: qsTr("https://…")
                Layout.fillWidth: true
                Accessible.name: qsTr("Address of tab %1").arg(index + 1)
                onTextEdited: editor.tabs.setUrl(index, text)
            }
            Button {
                objectName: "tabUpButton:" + index
                text: "↑"
                Layout.preferredWidth: implicitHeight * 1.5
                enabled: index > 0
                Accessible.name: qsTr("Move tab %1 up").arg(index + 1)
                onClicked: editor.tabs.moveTab(index, index - 1)
            }
            Button {
                objectName: "tabDownButton:" + index
                text: "↓"
                Layout.preferredWidth: implicitHeight * 1.5
                enabled: index < tabRepeater.count - 1
                Accessible.name: qsTr("Move tab %1 down").arg(index + 1)
                onClicked: editor.tabs.moveTab(index, index + 1)
            }
            Button {
                objectName: "tabRemoveButton:" + index
                text: qsTr("Remove")
                Accessible.name: qsTr("Remove tab %1").arg(index + 1)
                onClicked: editor.tabs.removeTab(index)
            }
        }
    }
    Button {
        objectName: "addTabButton"
        text: qsTr("Add Tab")
        Accessible.name: text
        onClicked: editor.tabs.addTab("")
    }
}
