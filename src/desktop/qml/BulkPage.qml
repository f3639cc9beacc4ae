// objectNames: "bulkPage", "bulkBackButton", "bulkBrowserBox", "bulkIncognitoCheck",
// "bulkRegisterCheck", "bulkRows", "bulkAddButton", "bulkRemoveSelectedButton",
// "bulkRemoveAllButton", "bulkValidationLabel", "bulkProgress", "bulkResultLabel",
// "bulkCreateAllButton"; per row N (from 0): "bulkSelect:N", "bulkIconButton:N",
// "bulkNameField:N", "bulkUrlField:N", "bulkTabsField:N", "bulkFolderField:N",
// "bulkFolderButton:N", "bulkRemoveButton:N".
import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Sorvane.Frontend
import Sorvane.Shell

// Several apps in one go: one row per app (name, address, icon, tabs, folder), made with the
// same browser and switches.
Page {
    id: page
    objectName: "bulkPage"

    required property BulkCreationStore creation
    required property SorvaneSettingsStore settings
    readonly property SNBulkAppsManager rows: creation.list
    // Row numbers ticked for "Remove Selected".
    property var selectedRows: []

    signal closed()

    function setSelected(row, on) {
        const others = selectedRows.filter(r => r !== row)
        selectedRows = on ? others.concat([row]) : others
    }

    FontMetrics { id: fontInfo }

    Keys.onEscapePressed: if (!creation.isCreating) page.closed()

    header: ToolBar {
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: fontInfo.height / 2
            anchors.rightMargin: fontInfo.height
            ToolButton {
                objectName: "bulkBackButton"
                text: qsTr("‹ Back")
                enabled: !page.creation.isCreating
                Accessible.name: qsTr("Back to your apps")
                onClicked: page.closed()
            }
            Label {
                text: qsTr("Create several apps")
                font.bold: true
                font.pointSize: fontInfo.font.pointSize * 1.3
                Accessible.role: Accessible.Heading
                Layout.fillWidth: true
            }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: fontInfo.height
        spacing: fontInfo.height / 2
        enabled: !page.creation.isCreating

        Label {
            Layout.fillWidth: true
            text: qsTr("Fill one row per app. Every app uses the browser and switches below.")
            wrapMode: Text.Wrap
        }

        RowLayout {
            spacing: fontInfo.height
            Label { text: qsTr("Browser") }
            ComboBox {
                id: browserBox
                objectName: "bulkBrowserBox"
                readonly property var types: page.settings.installedBrowsers
                model: types.map(t => page.settings.browserName(t))
                currentIndex: types.indexOf(page.creation.selectedBrowser)
                displayText: currentIndex < 0 ? qsTr("No browser found") : currentText
                Accessible.name: qsTr("Browser of the new apps")
                onActivated: index => page.creation.selectedBrowser = types[index]
            }
            CheckBox {
                objectName: "bulkIncognitoCheck"
                text: qsTr("Incognito")
                checked: page.creation.incognito
                onToggled: page.creation.incognito = checked
            }
            CheckBox {
                objectName: "bulkRegisterCheck"
                text: qsTr("Can be the default browser")
                checked: page.creation.registerAsBrowser
                onToggled: page.creation.registerAsBrowser = checked
            }
        }

        ListView {
            id: list
            objectName: "bulkRows"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: fontInfo.height / 3
            model: page.rows
            ScrollBar.vertical: ScrollBar {}
            onCountChanged: page.selectedRows = page.selectedRows.filter(r => r < count)

            delegate: Frame {
                id: row
                required property var model
                required property int index
                width: ListView.view.width - fontInfo.height
                Accessible.name: qsTr("App %1").arg(index + 1)

                GridLayout {
                    anchors.fill: parent
                    columns: 5
                    columnSpacing: fontInfo.height / 2

                    CheckBox {
                        objectName: "bulkSelect:" + row.index
                        Layout.rowSpan: 2
                        checked: page.selectedRows.indexOf(row.index) >= 0
                        Accessible.name: qsTr("Select app %1").arg(row.index + 1)
                        onToggled: page.setSelected(row.index, checked)
                    }
                    Button {
                        objectName: "bulkIconButton:" + row.index
                        Layout.rowSpan: 2
                        Layout.preferredWidth: fontInfo.height * 3.5
                        Layout.preferredHeight: fontInfo.height * 3.5
                        flat: true
                        Accessible.name: qsTr("Choose an icon for app %1").arg(row.index + 1)
                        ToolTip.text: row.model.iconBeingFetched ? qsTr("Looking for the site's icon…")
                                                                 : qsTr("Choose an icon")
                        ToolTip.visible: hovered
                        onClicked: {
                            iconDialog.row = row.index
                            iconDialog.open()
                        }
                        contentItem: Item {
                            Image {
                                anchors.fill: parent
                                source: row.model.appIconUrl
                                fillMode: Image.PreserveAspectFit
                                visible: status === Image.Ready
                            }
                            BusyIndicator {
                                anchors.centerIn: parent
                                running: row.model.iconBeingFetched
                                visible: running
                            }
                            Label {
                                anchors.centerIn: parent
                                visible: !row.model.appIconUrl && !row.model.iconBeingFetched
                                text: qsTr("Icon")
                                opacity: 0.6
                            }
                        }
                    }
                    TextField {
                        objectName: "bulkNameField:" + row.index
                        Layout.fillWidth: true
                        Layout.preferredWidth: 2
                        text: row.model.appName
                        placeholderText: qsTr("Name")
                        selectByMouse: true
                        focus: row.index === 0
                        Accessible.name: qsTr("Name of app %1").arg(row.index + 1)
                        onTextEdited: row.model.appName = text
                        onEditingFinished: page.rows.fieldEditingEnded(row.index)
                    }
                    TextField {
                        objectName: "bulkUrlField:" + row.index
                        Layout.fillWidth: true
                        Layout.preferredWidth: 3
                        text: row.model.appURL
                        placeholderText: qsTr("Address, e.g. mail.example.com")
                        selectByMouse: true
                        inputMethodHints: Qt.ImhUrlCharactersOnly
                        Accessible.name: qsTr("Address of app %1").arg(row.index + 1)
                        onTextEdited: row.model.appURL = text
                        onEditingFinished: page.rows.fieldEditingEnded(row.index)
                    }
                    ToolButton {
                        objectName: "bulkRemoveButton:" + row.index
                        Layout.rowSpan: 2
                        text: qsTr("Remove")
                        Accessible.name: qsTr("Remove app %1").arg(row.index + 1)
                        onClicked: page.rows.removeAppAction(row.index)
                    }
                    TextField {
                        objectName: "bulkTabsField:" + row.index
                        Layout.fillWidth: true
                        Layout.preferredWidth: 2
                        enabled: row.model.tabsEnabled
                        text: row.model.tabs.join(" ")
                        placeholderText: qsTr("Tabs (optional): addresses separated by spaces")
                        selectByMouse: true
                        Accessible.name: qsTr("Tabs of app %1").arg(row.index + 1)
                        onEditingFinished: row.model.tabs = text.split(/[\s,]+/).filter(t => t.length > 0)
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        Layout.preferredWidth: 3
                        TextField {
                            objectName: "bulkFolderField:" + row.index
                            Layout.fillWidth: true
                            text: row.model.creationPath
                            placeholderText: qsTr("Folder")
                            selectByMouse: true
                            Accessible.name: qsTr("Folder of app %1").arg(row.index + 1)
                            onTextEdited: row.model.creationPath = text
                        }
                        Button {
                            objectName: "bulkFolderButton:" + row.index
                            text: qsTr("Choose…")
                            Accessible.name: qsTr("Choose the folder of app %1").arg(row.index + 1)
                            onClicked: {
                                folderDialog.row = row.index
                                folderDialog.open()
                            }
                        }
                    }
                }
            }
        }

        RowLayout {
            Button {
                objectName: "bulkAddButton"
                text: qsTr("Add Row")
                onClicked: {
                    page.rows.addAppAction()
                    list.positionViewAtEnd()
                }
            }
            Button {
                objectName: "bulkRemoveSelectedButton"
                text: qsTr("Remove Selected")
                enabled: page.selectedRows.length > 0
                onClicked: {
                    page.rows.removeSelectedAppsAction(page.selectedRows)
                    page.selectedRows = []
                }
            }
            Button {
                objectName: "bulkRemoveAllButton"
                text: qsTr("Remove All")
                enabled: page.rows.removeAllEnabled
                Accessible.description: qsTr("Removes every row but the first")
                onClicked: {
                    page.rows.removeAllAppsAction()
                    page.selectedRows = []
                }
            }
            Item { Layout.fillWidth: true }
        }
    }

    footer: Pane {
        RowLayout {
            anchors.fill: parent
            spacing: fontInfo.height
            ColumnLayout {
                Layout.fillWidth: true
                visible: !page.creation.isCreating
                Label {
                    objectName: "bulkResultLabel"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    text: page.creation.resultMessage
                    font.bold: true
                    wrapMode: Text.Wrap
                }
                Label {
                    objectName: "bulkValidationLabel"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    text: page.creation.validationMessage
                    wrapMode: Text.Wrap
                    font.italic: true
                    Accessible.role: Accessible.AlertMessage
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                visible: page.creation.isCreating
                Label { text: qsTr("Creating %1…").arg(page.creation.currentAppName) }
                ProgressBar {
                    objectName: "bulkProgress"
                    Layout.fillWidth: true
                    value: page.creation.progress
                    Accessible.name: qsTr("Creating apps")
                }
            }
            Button {
                objectName: "bulkCreateAllButton"
                text: qsTr("Create All")
                highlighted: true
                enabled: !page.creation.isCreating && page.creation.validationMessage.length === 0
                Accessible.name: text
                onClicked: page.creation.createAll()
            }
        }
    }

    FileDialog {
        id: iconDialog
        property int row: -1
        title: qsTr("Choose an icon")
        nameFilters: [qsTr("Images (*.png *.jpg *.jpeg *.ico *.icns *.tiff *.tif *.bmp *.gif)")]
        onAccepted: page.creation.chooseIcon(row, selectedFile)
    }

    FolderDialog {
        id: folderDialog
        property int row: -1
        title: qsTr("Choose the folder of this app")
        onAccepted: page.creation.chooseFolder(row, selectedFolder)
    }
}
