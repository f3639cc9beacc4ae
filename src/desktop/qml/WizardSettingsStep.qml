import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Sorvane.Frontend

// Third step: how the app behaves: tabs, browser role, private mode, where it is saved, where its
// links open, how it looks, and which data it takes from the browser.
// objectNames: tabbedSwitch, incognitoTabsNote, registerAsBrowserSwitch, incognitoSwitch,
// saveLocationLabel, chooseSaveLocationButton, forceDarkModeSwitch, accentColorSwitch,
// accentColorButton, restoreTabsSwitch, passwordManagerSwitch, engineSwitchesField,
// engineSwitchesProblem, importSwitch, importProfileBox,
// importCategory:<raw value>, importExtension:<key>, importLoadingIndicator
// (and those of WizardTabsEditor and WizardRoutingRules)
ScrollView {
    id: settingsStep
    property AppCreationWizardStore wizard
    readonly property var categoryNames: ({
        "bookmarks": qsTr("Bookmarks"),
        "extensions": qsTr("Extensions"),
        "settings": qsTr("Settings"),
        "history": qsTr("History"),
        "passwords": qsTr("Passwords")
    })
    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        width: settingsStep.availableWidth
        spacing: 8

        Label { text: qsTr("Windows and tabs"); font.bold: true }
        Switch {
            objectName: "tabbedSwitch"
            text: qsTr("Open several sites as tabs")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.isTabbedApp : false
            // Private mode runs in the tabbed engine only.
            enabled: settingsStep.wizard !== null && !settingsStep.wizard.draft.enableIncognito
            Accessible.name: text
            onToggled: settingsStep.wizard.draft.isTabbedApp = checked
        }
        Label {
            objectName: "incognitoTabsNote"
            visible: settingsStep.wizard !== null && settingsStep.wizard.draft.enableIncognito
            text: qsTr("Private apps always open as tabs.")
            opacity: 0.7
        }
        WizardTabsEditor {
            visible: settingsStep.wizard !== null && settingsStep.wizard.draft.isTabbedApp
            tabs: settingsStep.wizard ? settingsStep.wizard.draft.tabs : null
            Layout.fillWidth: true
            Layout.leftMargin: 24
        }
        Switch {
            objectName: "registerAsBrowserSwitch"
            text: qsTr("Offer this app as a web browser")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.registerAsBrowser : false
            Accessible.name: text
            onToggled: settingsStep.wizard.draft.registerAsBrowser = checked
        }
        Switch {
            objectName: "incognitoSwitch"
            text: qsTr("Private mode (nothing is remembered after the app closes)")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.enableIncognito : false
            Accessible.name: qsTr("Private mode")
            onToggled: settingsStep.wizard.draft.enableIncognito = checked
        }

        MenuSeparator { Layout.fillWidth: true }
        Label { text: qsTr("Save the app in"); font.bold: true }
        RowLayout {
            Layout.fillWidth: true
            Label {
                objectName: "saveLocationLabel"
                text: settingsStep.wizard ? settingsStep.wizard.draft.appSaveLocation : ""
                elide: Text.ElideMiddle
                Layout.fillWidth: true
            }
            Button {
                objectName: "chooseSaveLocationButton"
                text: qsTr("Choose…")
                Accessible.name: qsTr("Choose where the app is saved")
                onClicked: folderDialog.open()
            }
        }

        MenuSeparator { Layout.fillWidth: true }
        Label { text: qsTr("Links"); font.bold: true }
        WizardRoutingRules {
            wizard: settingsStep.wizard
            Layout.fillWidth: true
        }

        MenuSeparator { Layout.fillWidth: true }
        Label { text: qsTr("Appearance"); font.bold: true }
        Switch {
            objectName: "forceDarkModeSwitch"
            text: qsTr("Always use dark mode")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.forceDarkMode : false
            Accessible.name: text
            onToggled: settingsStep.wizard.draft.forceDarkMode = checked
        }
        RowLayout {
            Switch {
                objectName: "accentColorSwitch"
                text: qsTr("Accent colour")
                checked: settingsStep.wizard ? settingsStep.wizard.draft.accentColorEnabled : false
                Accessible.name: text
                onToggled: settingsStep.wizard.draft.accentColorEnabled = checked
            }
            Button {
                objectName: "accentColorButton"
                text: qsTr("Colour…")
                enabled: settingsStep.wizard !== null && settingsStep.wizard.draft.accentColorEnabled
                Accessible.name: qsTr("Choose the accent colour")
                rightPadding: height
                onClicked: accentDialog.open()
                Rectangle {
                    anchors.right: parent.right
                    anchors.rightMargin: 6
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.height / 2
                    height: width
                    radius: 3
                    border.color: settingsStep.palette.mid
                    color: settingsStep.wizard ? settingsStep.wizard.draft.accentColor : "transparent"
                }
            }
        }
        Switch {
            objectName: "restoreTabsSwitch"
            text: qsTr("Reopen the last pages on launch")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.restoreTabsOnLaunch : false
            Accessible.name: text
            onToggled: settingsStep.wizard.draft.restoreTabsOnLaunch = checked
        }
        Switch {
            objectName: "passwordManagerSwitch"
            text: qsTr("Password manager compatibility")
            checked: settingsStep.wizard ? settingsStep.wizard.draft.passwordManagerCompatibility : false
            Accessible.name: text
            onToggled: settingsStep.wizard.draft.passwordManagerCompatibility = checked
        }
        Label { text: qsTr("Extra engine switches (each starts with --, blanks between them)") }
        TextField {
            objectName: "engineSwitchesField"
            Layout.fillWidth: true
            text: settingsStep.wizard ? settingsStep.wizard.draft.engineSwitches : ""
            placeholderText: qsTr("e.g. --no-sandbox")
            selectByMouse: true
            Accessible.name: qsTr("Extra engine switches")
            onTextEdited: settingsStep.wizard.draft.engineSwitches = text
        }
        Label {
            objectName: "engineSwitchesProblem"
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            visible: text !== ""
            color: "firebrick"
            text: settingsStep.wizard ? settingsStep.wizard.draft.engineSwitchesProblem : ""
        }

        MenuSeparator { Layout.fillWidth: true }
        Label { text: qsTr("Browser data"); font.bold: true }
        Switch {
            objectName: "importSwitch"
            text: qsTr("Bring data over from the browser")
            checked: settingsStep.wizard ? settingsStep.wizard.imports.importEnabled : false
            Accessible.name: text
            onToggled: settingsStep.wizard.imports.importEnabled = checked
        }
        ColumnLayout {
            visible: settingsStep.wizard !== null && settingsStep.wizard.imports.importEnabled
            Layout.leftMargin: 24
            Layout.fillWidth: true
            RowLayout {
                objectName: "importLoadingIndicator"
                visible: settingsStep.wizard !== null
                         && (settingsStep.wizard.imports.isLoadingImportProfiles || settingsStep.wizard.imports.isLoadingImportExtensions)
                BusyIndicator { running: parent.visible; Layout.preferredHeight: loadingLabel.implicitHeight * 2 }
                Label { id: loadingLabel; text: qsTr("Reading the browser's profiles…") }
            }
            Label {
                visible: settingsStep.wizard !== null && !settingsStep.wizard.imports.isLoadingImportProfiles
                         && settingsStep.wizard.imports.availableImportProfiles.count === 0
                text: qsTr("The chosen browser has no profile to take data from.")
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            RowLayout {
                visible: settingsStep.wizard !== null && settingsStep.wizard.imports.availableImportProfiles.count > 0
                Label { text: qsTr("Profile") }
                ComboBox {
                    implicitContentWidthPolicy: ComboBox.WidestText
                    objectName: "importProfileBox"
                    model: settingsStep.wizard ? settingsStep.wizard.imports.availableImportProfiles : null
                    textRole: "name"
                    valueRole: "key"
                    currentIndex: settingsStep.wizard ? indexOfValue(settingsStep.wizard.imports.selectedImportProfileKey) : -1
                    Accessible.name: qsTr("Profile to take data from")
                    onActivated: settingsStep.wizard.imports.selectedImportProfileKey = currentValue
                }
            }
            Flow {
                Layout.fillWidth: true
                spacing: 6
                Repeater {
                    model: settingsStep.wizard ? settingsStep.wizard.imports.allImportCategories : []
                    delegate: CheckBox {
                        required property string modelData
                        objectName: "importCategory:" + modelData
                        text: settingsStep.categoryNames[modelData] || modelData
                        checked: settingsStep.wizard.imports.importCategories.indexOf(modelData) >= 0
                        Accessible.name: text
                        onToggled: {
                            const chosen = settingsStep.wizard.imports.importCategories.filter(c => c !== modelData)
                            if (checked)
                                chosen.push(modelData)
                            settingsStep.wizard.imports.importCategories = chosen
                        }
                    }
                }
            }
            Label {
                visible: extensionRepeater.count > 0 && settingsStep.wizard.imports.importCategories.indexOf("extensions") >= 0
                text: qsTr("Extensions to bring over")
            }
            Repeater {
                id: extensionRepeater
                model: settingsStep.wizard ? settingsStep.wizard.imports.availableImportExtensions : null
                delegate: CheckBox {
                    required property var model
                    visible: settingsStep.wizard.imports.importCategories.indexOf("extensions") >= 0
                    objectName: "importExtension:" + model.key
                    text: model.name
                    checked: model.checked
                    Accessible.name: model.name
                    onToggled: settingsStep.wizard.imports.availableImportExtensions.setChecked(model.key, checked)
                }
            }
        }
    }

    FolderDialog {
        id: folderDialog
        title: qsTr("Where to save the app")
        currentFolder: settingsStep.wizard ? "file://" + settingsStep.wizard.draft.appSaveLocation : ""
        onAccepted: {
            const chosen = decodeURIComponent(selectedFolder.toString().replace(/^file:\/\//, ""))
            settingsStep.wizard.draft.appSaveLocation = chosen
        }
    }
    ColorDialog {
        id: accentDialog
        title: qsTr("Accent Colour")
        selectedColor: settingsStep.wizard ? settingsStep.wizard.draft.accentColor : "white"
        onAccepted: settingsStep.wizard.draft.accentColor = selectedColor
    }
}
