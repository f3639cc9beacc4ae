import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The store's validation messages for one field, shown right under it.
ColumnLayout {
    id: messagesView
    property var messages: []
    readonly property string text: messages.join("\n")
    visible: messages.length > 0
    spacing: 2
    Layout.fillWidth: true
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Repeater {
        model: messagesView.messages
        delegate: Label {
            required property string modelData
            text: "⚠ " + modelData
            font.bold: true
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
    }
}
