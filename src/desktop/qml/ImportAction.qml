// objectName: "importAction" (start() imports `fileUrl`, or asks for a file while it is empty).
import QtQuick
import QtQuick.Dialogs
import Sorvane.Frontend

// Import of an app-set file: one new app per entry, made through the usual creation.
Item {
    id: action
    objectName: "importAction"

    required property HomescreenStore home
    // Shows how many apps were made.
    signal imported(string title, string message)

    property url fileUrl

    function start() {
        if (fileUrl.toString().length > 0)
            importFrom(fileUrl)
        else
            openDialog.open()
    }
    // Starts the import; the store shows "Invalid App Config File" itself when the file is refused.
    function importFrom(url) {
        return home.importAppSet(url)
    }

    Connections {
        target: action.home
        function onAppSetImported(made) {
            action.imported(qsTr("Importer"), qsTr("%1 App(s) imported successfully").arg(made))
        }
    }

    FileDialog {
        id: openDialog
        title: qsTr("Import Apps")
        fileMode: FileDialog.OpenFile
        currentFolder: action.home.appSetDialog.folder
        nameFilters: [action.home.appSetDialog.nameFilter]
        onAccepted: action.importFrom(selectedFile)
    }
}
