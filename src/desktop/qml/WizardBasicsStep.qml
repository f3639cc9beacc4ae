import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Sorvane.Frontend

// First step: the app's name, address and icon, filled by hand, from a suggestion, a template or
// a saved quick setup.
// objectNames: appNameField, appNameMessages, appURLField, appURLMessages, detectingIndicator,
// detectedNameLabel, iconPreview, chooseIconButton, clearIconButton, iconShapeBox, iconColorButton,
// categoryBox, suggestion:<id>, template:<id>, quickSetup:<name>, applySetupButton:<name>,
// deleteSetupButton:<name>, saveSetupButton (and those of SaveQuickSetupDialog)
FocusScope {
    id: basics
    property AppCreationWizardStore wizard
    property AppSuggestionsStore suggestions
    // Ideas for a new app only: in the editor one click would overwrite the app's name and address.
    readonly property bool showIdeas: !(wizard && wizard.isEditing)

    FontMetrics { id: fontInfo }

    RowLayout {
        anchors.fill: parent
        spacing: 24

        ScrollView {
            id: formScroll
            Layout.fillHeight: true
            Layout.preferredWidth: basics.showIdeas ? basics.width * 0.55 : basics.width
            Layout.fillWidth: !basics.showIdeas
            contentWidth: availableWidth
            clip: true
            focus: true

            ColumnLayout {
                width: formScroll.availableWidth
                spacing: 10

                Label { text: qsTr("Name"); font.bold: true }
                TextField {
                    id: nameField
                    objectName: "appNameField"
                    Layout.fillWidth: true
                    placeholderText: qsTr("For example: Mail")
                    text: basics.wizard ? basics.wizard.draft.appName : ""
                    focus: true
                    activeFocusOnTab: true
                    Accessible.name: qsTr("App name")
                    onTextEdited: basics.wizard.draft.appName = text
                }
                WizardFieldMessages {
                    objectName: "appNameMessages"
                    messages: basics.wizard ? basics.wizard.steps.appNameMessages : []
                }

                Label { text: qsTr("Web address"); font.bold: true }
                TextField {
                    id: urlField
                    objectName: "appURLField"
                    Layout.fillWidth: true
                    placeholderText: qsTr("For example: https://mail.example.com")
                    text: basics.wizard ? basics.wizard.draft.appURL : ""
                    activeFocusOnTab: true
                    inputMethodHints: Qt.ImhUrlCharactersOnly
                    Accessible.name: qsTr("Web address")
                    // The site's name and icon are looked up once a changed address is complete
                    // (not when the editor merely passes through the field).
                    property bool changed: false
                    onTextEdited: {
                        basics.wizard.draft.appURL = text
                        changed = true
                    }
                    onEditingFinished: {
                        if (changed)
                            basics.wizard.icon.detectNameAndIcon()
                        changed = false
                    }
                }
                WizardFieldMessages {
                    objectName: "appURLMessages"
                    messages: basics.wizard ? basics.wizard.steps.appURLMessages : []
                }
                RowLayout {
                    objectName: "detectingIndicator"
                    visible: basics.wizard !== null && basics.wizard.icon.isAutoDetecting
                    BusyIndicator { running: parent.visible; Layout.preferredHeight: detectingLabel.implicitHeight * 2 }
                    Label { id: detectingLabel; text: qsTr("Looking up the site's name and icon…") }
                }
                Label {
                    objectName: "detectedNameLabel"
                    visible: text !== "" && basics.wizard !== null && !basics.wizard.icon.isAutoDetecting
                    text: basics.wizard && basics.wizard.icon.autoDetectedName !== ""
                          ? qsTr("The site calls itself “%1”.").arg(basics.wizard.icon.autoDetectedName) : ""
                    wrapMode: Text.WordWrap
                    Layout.fillWidth: true
                }

                Label { text: qsTr("Icon"); font.bold: true }
                RowLayout {
                    spacing: 12
                    Image {
                        objectName: "iconPreview"
                        source: basics.wizard ? basics.wizard.icon.iconPreview : ""
                        sourceSize.width: 160
                        Layout.preferredWidth: nameField.implicitHeight * 3
                        Layout.preferredHeight: nameField.implicitHeight * 3
                        fillMode: Image.PreserveAspectFit
                        Accessible.role: Accessible.Graphic
                        Accessible.name: qsTr("App icon")
                    }
                    GridLayout {
                        columns: 2
                        Button {
                            objectName: "chooseIconButton"
                            text: qsTr("Choose Icon File…")
                            Accessible.name: text
                            onClicked: iconFileDialog.open()
                        }
                        Button {
                            objectName: "clearIconButton"
                            text: qsTr("Clear Icon")
                            Accessible.name: text
                            onClicked: basics.wizard.icon.clearIcon()
                        }
                        Label { text: qsTr("Shape") }
                        ComboBox {
                            implicitContentWidthPolicy: ComboBox.WidestText
                            objectName: "iconShapeBox"
                            model: [
                                { value: "circle", text: qsTr("Circle") },
                                { value: "roundedSquare", text: qsTr("Rounded square") },
                                { value: "square", text: qsTr("Square") }
                            ]
                            textRole: "text"
                            valueRole: "value"
                            currentIndex: basics.wizard
                                          ? ["circle", "roundedSquare", "square"].indexOf(basics.wizard.icon.selectedIconShape) : 0
                            Accessible.name: qsTr("Icon shape")
                            onActivated: {
                                basics.wizard.icon.selectedIconShape = currentValue
                                basics.wizard.icon.hasCustomIconEnhancements = true
                            }
                        }
                        Label { text: qsTr("Background") }
                        Button {
                            objectName: "iconColorButton"
                            text: qsTr("Colour…")
                            Accessible.name: qsTr("Icon background colour")
                            onClicked: iconColorDialog.open()
                            Rectangle {
                                anchors.right: parent.right
                                anchors.rightMargin: 6
                                anchors.verticalCenter: parent.verticalCenter
                                width: parent.height / 2
                                height: width
                                radius: 3
                                border.color: basics.palette.mid
                                color: basics.wizard ? basics.wizard.icon.selectedIconColor : "transparent"
                            }
                            rightPadding: height
                        }
                    }
                }

            }
        }

        ScrollView {
            id: ideasScroll
            objectName: "ideasPane"
            visible: basics.showIdeas
            Layout.fillHeight: true
            Layout.fillWidth: true
            contentWidth: availableWidth
            clip: true

            ColumnLayout {
                width: ideasScroll.availableWidth
                spacing: 10

                RowLayout {
                    Label { text: qsTr("Suggestions"); font.bold: true; Layout.fillWidth: true }
                    ComboBox {
                        implicitContentWidthPolicy: ComboBox.WidestText
                        objectName: "categoryBox"
                        model: basics.suggestions ? basics.suggestions.categoryLabels : []
                        currentIndex: basics.suggestions ? basics.suggestions.selectedCategory : 0
                        Accessible.name: qsTr("Category")
                        onActivated: index => basics.suggestions.selectedCategory = index
                    }
                }
                Flow {
                    Layout.fillWidth: true
                    spacing: 6
                    Repeater {
                        model: basics.suggestions ? basics.suggestions.suggestions : null
                        delegate: Button {
                            required property string suggestionId
                            required property string name
                            required property string description
                            required property bool isInstalled
                            required property bool isTemplate
                            objectName: "suggestion:" + suggestionId
                            // Templates have their own row, except in the category that holds them.
                            visible: !isTemplate || basics.suggestions.selectedCategory === AppCategory.Workspaces
                            text: isInstalled ? qsTr("%1 (made)").arg(name) : name
                            icon.source: "image://lettericon/" + encodeURIComponent(name)
                            icon.color: "transparent"
                            icon.width: fontInfo.height * 1.2
                            icon.height: fontInfo.height * 1.2
                            ToolTip.text: description
                            ToolTip.visible: hovered || visualFocus
                            ToolTip.delay: 600
                            Accessible.name: name
                            Accessible.description: description
                            onClicked: basics.wizard.draft.applySuggestion(basics.suggestions.wizardValues(suggestionId))
                        }
                    }
                }

                Label {
                    text: qsTr("Templates")
                    font.bold: true
                    visible: templateRepeater.count > 0
                }
                Flow {
                    Layout.fillWidth: true
                    spacing: 6
                    Repeater {
                        id: templateRepeater
                        model: basics.suggestions ? basics.suggestions.templates : []
                        delegate: Button {
                            required property var modelData
                            objectName: "template:" + modelData.id
                            text: modelData.name
                            ToolTip.text: modelData.description
                            ToolTip.visible: hovered || visualFocus
                            ToolTip.delay: 600
                            Accessible.name: modelData.name
                            onClicked: basics.wizard.draft.applySuggestion(basics.suggestions.wizardValues(modelData.id))
                        }
                    }
                }

                MenuSeparator { Layout.fillWidth: true }

                RowLayout {
                    Label { text: qsTr("Quick setups"); font.bold: true; Layout.fillWidth: true }
                    Button {
                        objectName: "saveSetupButton"
                        text: qsTr("Save Current Tabs as Setup…")
                        Accessible.name: text
                        onClicked: saveSetupDialog.openFor(basics.wizard.draft)
                    }
                }
                Label {
                    visible: setupRepeater.count === 0
                    text: qsTr("A quick setup keeps a list of sites to open as tabs. Save one from your tabs to use it again.")
                    wrapMode: Text.WordWrap
                    opacity: 0.7
                    Layout.fillWidth: true
                }
                Repeater {
                    id: setupRepeater
                    model: basics.wizard ? basics.wizard.draft.customQuickSetups : null
                    delegate: RowLayout {
                        required property var setupId
                        required property string name
                        required property string description
                        objectName: "quickSetup:" + name
                        Layout.fillWidth: true
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 0
                            Label { text: name; font.bold: true }
                            Label { text: description; opacity: 0.7 }
                        }
                        Button {
                            objectName: "applySetupButton:" + name
                            text: qsTr("Use")
                            Accessible.name: qsTr("Use %1").arg(name)
                            onClicked: basics.wizard.draft.applySetup(setupId)
                        }
                        Button {
                            objectName: "deleteSetupButton:" + name
                            text: qsTr("Delete")
                            Accessible.name: qsTr("Delete %1").arg(name)
                            onClicked: basics.wizard.draft.deleteSetup(setupId)
                        }
                    }
                }
            }
        }
    }

    FileDialog {
        id: iconFileDialog
        title: qsTr("Choose an Icon")
        nameFilters: [qsTr("Images (*.png *.jpg *.jpeg *.svg *.icns *.ico *.webp)")]
        onAccepted: basics.wizard.icon.setIconFromFile(selectedFile)
    }
    ColorDialog {
        id: iconColorDialog
        title: qsTr("Icon Background")
        selectedColor: basics.wizard ? basics.wizard.icon.selectedIconColor : "white"
        onAccepted: {
            basics.wizard.icon.selectedIconColor = selectedColor
            basics.wizard.icon.hasCustomIconEnhancements = true
        }
    }
    SaveQuickSetupDialog {
        id: saveSetupDialog
        parent: Overlay.overlay
    }
}
