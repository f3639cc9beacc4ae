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
    required property AppUpdateScheduler updates
    required property ColorScheme colorScheme

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
            id: homeScreen
            home: window.home
            updates: window.updates
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

    // The light or dark palette of the desktop, in every window (dialogs and menus inherit it).
    function paint(target) {
        const colors = window.colorScheme.colors
        for (const role in colors.active)
            target.palette[role] = colors.active[role]
        for (const role in colors.disabled)
            target.palette.disabled[role] = colors.disabled[role]
    }
    function paintAll() {
        paint(window)
        paint(settingsWindow)
    }
    Component.onCompleted: paintAll()
    Connections {
        target: window.colorScheme
        function onChanged() { window.paintAll() }
    }

    // The main actions from the keyboard, wherever the focus is in the main window. The home
    // screen's own take effect only while no wizard or bulk list covers it.
    readonly property bool homeOnTop: stack.depth === 1 && !window.dialogs.asking
    Shortcut {
        sequences: [StandardKey.New]
        enabled: window.homeOnTop
        onActivated: window.home.newApp()
    }
    Shortcut {
        sequences: [StandardKey.Find]
        enabled: window.homeOnTop
        onActivated: homeScreen.focusSearch()
    }
    Shortcut {
        sequences: [StandardKey.Open]
        enabled: window.homeOnTop
        onActivated: importAction.start()
    }
    Shortcut {
        sequences: ["Ctrl+E"]
        enabled: window.homeOnTop && window.home.apps.count > 0
        onActivated: exportDialog.open()
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: {
            settingsWindow.show()
            settingsWindow.raise()
            settingsWindow.requestActivate()
        }
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        enabled: !window.dialogs.asking
        onActivated: Qt.quit()
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
