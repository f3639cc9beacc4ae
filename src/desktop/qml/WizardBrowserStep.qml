import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// Second step: which installed browser engine runs the app, with a word on link routing for each.
// objectNames: browserList, browser:<name>, browserRouting:<name>, noBrowserLabel
ScrollView {
    id: browserStep
    property AppCreationWizardStore wizard
    // Whether the step is on screen; a new app's browser is chosen the first time it is.
    property bool shown: false
    contentWidth: availableWidth
    clip: true

    onShownChanged: if (shown && wizard && !wizard.isEditing) wizard.draft.applyInitialBrowserFromPickerOrder()

    ColumnLayout {
        objectName: "browserList"
        width: browserStep.availableWidth
        spacing: 10

        Label {
            text: qsTr("Choose the browser that runs your app")
            font.bold: true
        }
        Label {
            text: qsTr("Your app uses its own copy of the browser's engine with a separate profile: it does not share your browser's windows, cookies or sign-ins.")
            wrapMode: Text.WordWrap
            opacity: 0.8
            Layout.fillWidth: true
        }
        Label {
            objectName: "noBrowserLabel"
            visible: browserRepeater.count === 0
            text: qsTr("No supported browser is installed. Install Chromium, Google Chrome, Brave, Microsoft Edge, Opera, Vivaldi or Helium, or set where one is in Settings.")
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }

        Repeater {
            id: browserRepeater
            model: browserStep.wizard ? browserStep.wizard.draft.browserChoices : []
            delegate: ColumnLayout {
                required property var modelData
                spacing: 0
                Layout.fillWidth: true
                RadioButton {
                    id: radio
                    objectName: "browser:" + modelData.name
                    text: modelData.name
                    autoExclusive: false
                    Accessible.name: modelData.name
                    Accessible.description: modelData.linkRouting
                    onClicked: browserStep.wizard.draft.selectedBrowser = modelData.type
                    // The store has the say: a cancelled engine switch puts the old choice back.
                    Binding on checked {
                        value: browserStep.wizard.draft.selectedBrowser === radio.modelType
                    }
                    readonly property int modelType: modelData.type
                }
                Label {
                    objectName: "browserPackaging:" + modelData.name
                    visible: text.length > 0
                    text: modelData.installedAs || ""
                    wrapMode: Text.WrapAnywhere
                    opacity: 0.7
                    leftPadding: radio.indicator.width + radio.spacing + radio.leftPadding
                    Layout.fillWidth: true
                }
                Label {
                    objectName: "browserRouting:" + modelData.name
                    text: modelData.linkRouting
                    wrapMode: Text.WordWrap
                    opacity: 0.7
                    leftPadding: radio.indicator.width + radio.spacing + radio.leftPadding
                    Layout.fillWidth: true
                }
            }
        }
    }
}
