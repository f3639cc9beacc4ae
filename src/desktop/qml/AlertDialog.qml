import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Shell

// Shows the questions and errors the generator and the stores raise.
Dialog {
    id: dialog
    objectName: "alertDialog"
    required property DialogBroker dialogs
    property var buttons: []
    property string informativeText
    anchors.centerIn: parent
    modal: true

    Label { text: dialog.informativeText; wrapMode: Text.WordWrap }

    Connections {
        target: dialog.dialogs
        function onQuestionAsked(message, informativeText, buttons) {
            dialog.title = message
            dialog.informativeText = informativeText
            dialog.buttons = buttons
            dialog.open()
        }
    }
}
