import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// Shown once the app is made (or saved): open it, or go back to the apps. What the browser-data
// import brought (or could not bring) is listed here.
// objectNames: successTitle, importedCount, importMessages, openAppButton, doneButton
Item {
    id: success
    property AppCreationWizardStore wizard
    signal done()

    onVisibleChanged: if (visible) doneButton.forceActiveFocus()

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 48, 560)
        spacing: 14

        Image {
            source: success.wizard ? success.wizard.icon.iconPreview : ""
            sourceSize.width: 160
            Layout.preferredWidth: doneButton.implicitHeight * 3
            Layout.preferredHeight: doneButton.implicitHeight * 3
            Layout.alignment: Qt.AlignHCenter
            fillMode: Image.PreserveAspectFit
            Accessible.ignored: true
        }
        Label {
            objectName: "successTitle"
            text: !success.wizard ? ""
                  : success.wizard.isEditing ? qsTr("%1 is saved").arg(success.wizard.draft.appName)
                                             : qsTr("%1 is ready").arg(success.wizard.draft.appName)
            font.bold: true
            font.pointSize: Qt.application.font.pointSize * 1.4
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Label {
            text: qsTr("You'll find it with your apps and in your desktop's application menu.")
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "importedCount"
            readonly property int copied: success.wizard && success.wizard.imports.lastImportSummary.copiedItemCount
                                          ? success.wizard.imports.lastImportSummary.copiedItemCount : 0
            visible: copied > 0
            text: copied === 1 ? qsTr("1 item was brought over from %1.").arg(success.wizard.draft.selectedBrowserName)
                               : qsTr("%1 items were brought over from %2.").arg(copied)
                                     .arg(success.wizard ? success.wizard.draft.selectedBrowserName : "")
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "importMessages"
            visible: text !== ""
            text: success.wizard ? success.wizard.imports.importMessages.join("\n") : ""
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            spacing: 12
            Button {
                objectName: "openAppButton"
                text: qsTr("Open App")
                Accessible.name: text
                onClicked: success.wizard.launchCreatedApp()
            }
            Button {
                id: doneButton
                objectName: "doneButton"
                text: qsTr("Done")
                highlighted: true
                Accessible.name: text
                Keys.onReturnPressed: success.done()
                Keys.onEnterPressed: success.done()
                onClicked: success.done()
            }
        }
    }
}
