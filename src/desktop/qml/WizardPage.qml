import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// The creation wizard and the editor: four steps over one AppCreationWizardStore, then the
// creation's progress, its success view or its error.
// objectNames: wizardPage, wizardTitle, cancelButton, backButton, nextButton, createButton,
// stepIndicator, creationOverlay, successView, openAppButton, doneButton, importMessages,
// creationErrorDialog, creationErrorTitle, creationErrorText, creationErrorOkButton, engineSwitchDialog,
// engineSwitchText, engineSwitchRestoreSwitch, engineSwitchConfirmButton, engineSwitchCancelButton
Page {
    id: page
    objectName: "wizardPage"
    property AppCreationWizardStore wizard
    property AppSuggestionsStore suggestions
    signal closed()

    readonly property int step: wizard ? wizard.steps.currentStep : WizardSteps.Basics
    readonly property bool onReview: step === WizardSteps.Review
    readonly property bool succeeded: wizard !== null && wizard.showingSuccess
    // Set from the click on Create until the store has run: the overlay is up before the
    // (blocking) creation starts.
    property bool creationRequested: false
    readonly property bool busy: creationRequested || (wizard !== null && wizard.isCreatingApp)

    focus: true
    // Whether the page has finished sliding in: until then the stack takes no clicks.
    readonly property bool ready: StackView.status === StackView.Active
    // The keyboard starts in the first field once the page has slid in.
    StackView.onActivated: page.forceActiveFocus()
    // Each step starts with the keyboard in it, so Tab goes through its controls from the top.
    onStepChanged: Qt.callLater(function() {
        const shown = steps.children[page.step]
        if (shown)
            shown.forceActiveFocus()
    })
    Keys.onReturnPressed: page.advance()
    Keys.onEnterPressed: page.advance()
    Keys.onEscapePressed: page.cancel()

    function advance() {
        if (!wizard || busy || succeeded)
            return
        if (onReview)
            requestCreation()
        else
            wizard.steps.nextStep()
    }

    function cancel() {
        if (!busy)
            page.closed()
    }

    function requestCreation() {
        if (busy)
            return
        creationRequested = true
        creationDelay.restart()
    }

    function runCreation() {
        if (!creationRequested)
            return
        creationDelay.stop()
        wizard.createApp()
        creationRequested = false
    }

    // Creation blocks the event loop: it starts once the overlay has reached the screen, or
    // after a moment when no frame comes (a hidden window).
    Connections {
        target: page.Window.window
        enabled: page.creationRequested
        function onFrameSwapped() { Qt.callLater(page.runCreation) }
    }
    Timer {
        id: creationDelay
        interval: 150
        onTriggered: page.runCreation()
    }

    header: ToolBar {
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 8
            anchors.rightMargin: 8
            Button {
                objectName: "cancelButton"
                text: qsTr("Cancel")
                enabled: !page.busy
                visible: !page.succeeded // Done closes it then
                Accessible.name: text
                onClicked: page.cancel()
            }
            Label {
                objectName: "wizardTitle"
                text: page.wizard && page.wizard.isEditing ? qsTr("Edit App") : qsTr("New App")
                font.bold: true
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
            }
            WizardStepIndicator {
                objectName: "stepIndicator"
                currentStep: page.step
                visible: !page.succeeded
            }
        }
    }

    StackLayout {
        id: steps
        anchors.fill: parent
        anchors.margins: 16
        visible: !page.succeeded
        currentIndex: page.step

        WizardBasicsStep {
            wizard: page.wizard
            suggestions: page.suggestions
            focus: page.step === WizardSteps.Basics
        }
        WizardBrowserStep {
            wizard: page.wizard
            shown: page.step === WizardSteps.Browser
        }
        WizardSettingsStep {
            wizard: page.wizard
        }
        WizardReviewStep {
            wizard: page.wizard
        }
    }

    WizardSuccessView {
        objectName: "successView"
        anchors.fill: parent
        visible: page.succeeded
        wizard: page.wizard
        onDone: page.closed()
    }

    footer: ToolBar {
        visible: !page.succeeded
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 8
            anchors.rightMargin: 8
            Item { Layout.fillWidth: true }
            Button {
                objectName: "backButton"
                text: qsTr("Back")
                enabled: page.step !== WizardSteps.Basics && !page.busy
                Accessible.name: text
                onClicked: page.wizard.steps.previousStep()
            }
            Button {
                objectName: "nextButton"
                text: qsTr("Next")
                visible: !page.onReview
                highlighted: true
                enabled: !page.busy
                Accessible.name: text
                onClicked: page.advance()
            }
            Button {
                objectName: "createButton"
                text: page.wizard && page.wizard.isEditing ? qsTr("Save") : qsTr("Create")
                visible: page.onReview
                highlighted: true
                enabled: !page.busy
                Accessible.name: text
                onClicked: page.requestCreation()
            }
        }
    }

    // Progress while the app is made.
    Rectangle {
        objectName: "creationOverlay"
        anchors.fill: parent
        visible: page.busy
        color: Qt.rgba(page.palette.window.r, page.palette.window.g, page.palette.window.b, 0.85)
        z: 10
        MouseArea { anchors.fill: parent; hoverEnabled: true }
        ColumnLayout {
            anchors.centerIn: parent
            spacing: 12
            BusyIndicator { running: page.busy; Layout.alignment: Qt.AlignHCenter }
            Label {
                text: page.wizard && page.wizard.isEditing ? qsTr("Saving your app…") : qsTr("Creating your app…")
                Layout.alignment: Qt.AlignHCenter
            }
            ProgressBar {
                from: 0
                to: 1
                value: page.wizard ? page.wizard.creationProgress : 0
                Layout.preferredWidth: 240
            }
        }
    }

    Dialog {
        id: errorDialog
        objectName: "creationErrorDialog"
        title: page.wizard ? page.wizard.creationErrorTitle : ""
        anchors.centerIn: parent
        modal: true
        width: Math.min(page.width - 40, 460)
        closePolicy: Popup.CloseOnEscape
        header: Label {
            objectName: "creationErrorTitle"
            text: errorDialog.title
            font.bold: true
            padding: 12
            bottomPadding: 0
            elide: Text.ElideRight
        }
        Label {
            objectName: "creationErrorText"
            text: page.wizard ? page.wizard.creationError : ""
            wrapMode: Text.WordWrap
            width: parent.width
        }
        footer: DialogButtonBox {
            Button {
                objectName: "creationErrorOkButton"
                text: qsTr("OK")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onClosed: if (page.wizard && page.wizard.showingError) page.wizard.dismissError()
    }

    Dialog {
        id: engineSwitchDialog
        objectName: "engineSwitchDialog"
        title: qsTr("Switch Engine?")
        anchors.centerIn: parent
        modal: true
        width: Math.min(page.width - 40, 520)
        closePolicy: Popup.CloseOnEscape
        ColumnLayout {
            width: parent.width
            Label {
                objectName: "engineSwitchText"
                text: page.wizard ? page.wizard.engineSwitch.warningText : ""
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            Switch {
                id: restoreCheck
                objectName: "engineSwitchRestoreSwitch"
                text: qsTr("Restore this engine's saved data")
                visible: page.wizard !== null && page.wizard.engineSwitch.canRestore
                checked: true
            }
        }
        footer: DialogButtonBox {
            Button {
                objectName: "engineSwitchCancelButton"
                text: qsTr("Cancel")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            Button {
                objectName: "engineSwitchConfirmButton"
                text: qsTr("Switch Engine")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onAccepted: page.wizard.engineSwitch.confirm(restoreCheck.visible && restoreCheck.checked)
        onRejected: page.wizard.engineSwitch.cancel()
        // Escape closes without an answer: that keeps the app's engine.
        onClosed: Qt.callLater(function() {
            if (page.wizard && page.wizard.engineSwitch.showingWarning)
                page.wizard.engineSwitch.cancel()
        })
    }

    // The store decides when its alerts show.
    Connections {
        target: page.wizard
        function onCreationStateChanged() { page.syncAlerts() }
    }
    Connections {
        target: page.wizard ? page.wizard.engineSwitch : null
        function onChanged() { page.syncAlerts() }
    }
    Component.onCompleted: syncAlerts()

    function syncAlerts() {
        if (!wizard)
            return
        if (wizard.showingError && !errorDialog.visible)
            errorDialog.open()
        else if (!wizard.showingError && errorDialog.visible)
            errorDialog.close()
        if (wizard.engineSwitch.showingWarning && !engineSwitchDialog.visible)
            engineSwitchDialog.open()
        else if (!wizard.engineSwitch.showingWarning && engineSwitchDialog.visible)
            engineSwitchDialog.close()
    }
}
