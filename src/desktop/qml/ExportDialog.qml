// objectNames: "exportDialog", "exportList", "exportApp:<name>" (each app's check box),
// "exportAllButton", "exportNoneButton", "exportConfirmButton", "exportCancelButton".
import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Sorvane.Frontend

// Which apps go into an app-set file, and where it is saved. `fileUrl` is the file chosen;
// while it is empty, Export asks for one with the save dialog.
Dialog {
    id: dialog
    objectName: "exportDialog"

    required property HomescreenStore home
    // Shows the result ("%1 App(s) exported successfully").
    signal exported(string title, string message)

    property url fileUrl
    // Ids of the ticked apps.
    property var chosen: []

    function setChosen(id, on) {
        const others = chosen.filter(c => c !== id)
        chosen = on ? others.concat([id]) : others
    }
    function chooseAll() {
        const ids = []
        for (let row = 0; row < home.apps.count; ++row)
            ids.push(home.apps.entryAt(row).id)
        chosen = ids
    }
    function exportTo(url) {
        const count = home.exportApps(chosen, url)
        if (count < 0)
            return false // the store has shown "Invalid App Config File"
        close()
        exported(home.appSetDialog.exporterTitle, home.appSetDialog.exportedMessage.arg(count))
        return true
    }

    readonly property var texts: home.appSetDialog

    title: qsTr("Export Apps")
    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width * 0.9 : 480, fontInfo.height * 28)
    height: Math.min(parent ? parent.height * 0.9 : 480, fontInfo.height * 30)
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape

    onAboutToShow: {
        chooseAll()
        fileUrl = ""
    }

    FontMetrics { id: fontInfo }

    contentItem: ColumnLayout {
        spacing: fontInfo.height / 2
        Label {
            Layout.fillWidth: true
            text: qsTr("Choose the apps to save in one file. You can import that file on any computer.")
            wrapMode: Text.Wrap
        }
        RowLayout {
            Button {
                objectName: "exportAllButton"
                text: qsTr("Select All")
                onClicked: dialog.chooseAll()
            }
            Button {
                objectName: "exportNoneButton"
                text: qsTr("Select None")
                onClicked: dialog.chosen = []
            }
        }
        ListView {
            objectName: "exportList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: dialog.home.apps
            activeFocusOnTab: true
            ScrollBar.vertical: ScrollBar {}
            delegate: CheckDelegate {
                required property var model
                width: ListView.view.width
                objectName: "exportApp:" + model.name
                text: model.name
                checked: dialog.chosen.indexOf(model.id) >= 0
                Accessible.name: model.name
                onToggled: dialog.setChosen(model.id, checked)
            }
        }
    }

    footer: DialogButtonBox {
        Button {
            objectName: "exportConfirmButton"
            text: qsTr("Export…")
            enabled: dialog.chosen.length > 0
            highlighted: true
            DialogButtonBox.buttonRole: DialogButtonBox.ActionRole
            onClicked: {
                if (dialog.fileUrl.toString().length > 0)
                    dialog.exportTo(dialog.fileUrl)
                else
                    saveDialog.open()
            }
        }
        Button {
            objectName: "exportCancelButton"
            text: qsTr("Cancel")
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
    }

    FileDialog {
        id: saveDialog
        title: dialog.texts.saveTitle
        fileMode: FileDialog.SaveFile
        currentFolder: dialog.texts.folder
        selectedFile: dialog.texts.folder + "/" + dialog.texts.fileName
        nameFilters: [dialog.texts.nameFilter, qsTr("All files (*)")]
        onAccepted: {
            dialog.fileUrl = selectedFile
            dialog.exportTo(selectedFile)
        }
    }
}
