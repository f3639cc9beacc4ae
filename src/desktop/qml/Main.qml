import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend
import Sorvane.Shell

// The main window: the home screen, with the wizard pushed over it while one is open, and the
// settings window beside it. Everything shown comes from the stores handed in by the shell.
ApplicationWindow {
    id: window

    required property HomescreenStore home
    required property SorvaneSettingsStore settings
    required property AppSuggestionsStore suggestions
    required property SNBulkAppsManager bulk
    required property BulkCreationStore bulkCreation
    required property DialogBroker dialogs

    width: 1100
    height: 740
    minimumWidth: 720
    minimumHeight: 520
    visible: true
    title: qsTr("Sorvane")

    StackView {
        id: stack
        objectName: "mainStack"
        anchors.fill: parent
        initialItem: HomeScreen {
            home: window.home
            onSettingsRequested: {
                settingsWindow.show()
                settingsWindow.raise()
                settingsWindow.requestActivate()
            }
            onBulkRequested: stack.push(bulkPage)
            onExportRequested: exportDialog.open()
            onImportRequested: importAction.start()
        }
    }

    // The wizard is open exactly while the home screen holds one.
    Connections {
        target: window.home
        function onWizardChanged() {
            if (window.home.wizard) {
                stack.push(wizardPage, { wizard: window.home.wizard })
            } else if (stack.depth > 1) {
                stack.pop(null)
            }
        }
    }

    Component {
        id: wizardPage
        WizardPage {
            suggestions: window.suggestions
            onClosed: {
                window.home.showingAppCreation = false
                window.home.showingAppEdit = false
            }
        }
    }

    Component {
        id: bulkPage
        BulkPage {
            creation: window.bulkCreation
            settings: window.settings
            onClosed: stack.pop()
        }
    }

    ExportDialog {
        id: exportDialog
        home: window.home
        onExported: (title, message) => alert.inform(title, message)
    }

    ImportAction {
        id: importAction
        home: window.home
        onImported: (title, message) => alert.inform(title, message)
    }

    SettingsWindow {
        id: settingsWindow
        settings: window.settings
    }

    AlertDialog {
        id: alert
        dialogs: window.dialogs
    }
}
