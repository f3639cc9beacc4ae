import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// Names the wizard's current tabs as a quick setup; the draft proposes a name and a description.
// objectNames: saveSetupDialog, setupNameField, setupDescriptionField, setupSaveButton,
// setupCancelButton
Dialog {
    id: dialog
    objectName: "saveSetupDialog"
    property WizardDraft draft
    title: qsTr("Save Quick Setup")
    anchors.centerIn: parent
    modal: true
    width: Math.min(parent ? parent.width - 40 : 480, 480)

    function openFor(tabsOf) {
        draft = tabsOf
        nameField.text = tabsOf.suggestedSetupName()
        descriptionField.text = tabsOf.suggestedSetupDescription()
        open()
        nameField.forceActiveFocus()
    }

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        Label { text: qsTr("Name") }
        TextField {
            id: nameField
            objectName: "setupNameField"
            Layout.fillWidth: true
            Accessible.name: qsTr("Setup name")
            onAccepted: if (saveButton.enabled) dialog.accept()
        }
        Label { text: qsTr("Description") }
        TextField {
            id: descriptionField
            objectName: "setupDescriptionField"
            Layout.fillWidth: true
            Accessible.name: qsTr("Setup description")
        }
        Label {
            text: qsTr("The sites of your tabs are saved. Empty tabs are left out.")
            wrapMode: Text.WordWrap
            opacity: 0.7
            Layout.fillWidth: true
        }
    }

    footer: DialogButtonBox {
        Button {
            objectName: "setupCancelButton"
            text: qsTr("Cancel")
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        Button {
            id: saveButton
            objectName: "setupSaveButton"
            text: qsTr("Save")
            enabled: nameField.text.trim() !== ""
            DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
        }
    }
    onAccepted: draft.saveCurrentAsSetup(nameField.text, "", descriptionField.text)
}
