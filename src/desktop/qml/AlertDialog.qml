// objectNames: "alertDialog", "alertTitle", "alertText", "alertButton0", "alertButton1", ...
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Shell

// The questions and errors the generator and the stores raise, one at a time. A question's
// first button is the default; Escape cancels it. An error, or a message of the views
// (inform()), has one "OK". Alerts raised while one is showing wait their turn.
Dialog {
    id: dialog
    objectName: "alertDialog"

    required property DialogBroker dialogs

    // The alert on screen: {kind: "question" | "notice", title, text, buttons}.
    property var current: null
    property var waiting: []
    // The button that closed the alert; -1 (cancel) when Escape or anything else did.
    property int chosen: -1

    // A message of the views themselves (export and import results).
    function inform(title, text) {
        enqueue({ kind: "notice", title: title, text: text, buttons: [qsTr("OK")] })
    }

    function enqueue(alert) {
        waiting = waiting.concat([alert])
        showNext()
    }

    function showNext() {
        if (current || waiting.length === 0)
            return
        current = waiting[0]
        waiting = waiting.slice(1)
        open()
    }

    function choose(index) {
        chosen = index
        close()
    }

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width * 0.9 : 480, fontInfo.height * 30)
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    title: current ? current.title : ""

    FontMetrics { id: fontInfo }

    contentItem: Label {
        objectName: "alertText"
        text: dialog.current ? dialog.current.text : ""
        visible: text.length > 0
        wrapMode: Text.Wrap
        Accessible.role: Accessible.AlertMessage
        Accessible.name: dialog.title
        Accessible.description: text
    }

    header: Label {
        objectName: "alertTitle"
        text: dialog.title
        font.bold: true
        wrapMode: Text.Wrap
        padding: dialog.padding
        bottomPadding: 0
    }

    footer: Pane {
        RowLayout {
            anchors.right: parent.right
            spacing: fontInfo.height / 2
            Repeater {
                model: dialog.current ? dialog.current.buttons : []
                Button {
                    required property int index
                    required property string modelData
                    objectName: "alertButton" + index
                    text: modelData
                    highlighted: index === 0
                    focus: index === 0
                    activeFocusOnTab: true
                    Accessible.name: modelData
                    Keys.onReturnPressed: clicked()
                    Keys.onEnterPressed: clicked()
                    onClicked: dialog.choose(index)
                }
            }
        }
    }

    onClosed: {
        const alert = current
        const answer = chosen
        chosen = -1
        current = null
        if (alert && alert.kind === "question")
            dialogs.answer(answer)
        Qt.callLater(showNext)
    }

    Connections {
        target: dialog.dialogs
        function onQuestionAsked(message, informativeText, buttons) {
            dialog.enqueue({ kind: "question", title: message, text: informativeText, buttons: buttons })
        }
        function onErrorShown(message) {
            dialog.inform(qsTr("Error"), message)
        }
    }
}
