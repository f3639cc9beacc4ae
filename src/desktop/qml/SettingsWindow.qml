// objectNames: "settingsWindow", "settingsTabs", "appDefaultsTab", "browsersTab",
// "saveLocationField", "chooseSaveLocationButton", "registerAsBrowserSwitch", "incognitoSwitch",
// "tabbedSwitch", "iconShapeBox", "storePageSwitch", "engineSwitchesField", "engineSwitchesProblem",
// "automaticUpdatesSwitch", "importSwitch", "importCategory:<raw value>", "closeSettingsButton";
// per browser (its type number N): "browserRow:N",
// "browserState:N", "browserPathField:N", "chooseBrowserButton:N", "resetBrowserButton:N".
import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Sorvane.Frontend

// The settings: what a new app starts with, and where each browser's engine is. Every change is
// kept at once; there is nothing to save.
ApplicationWindow {
    id: settingsWindow
    objectName: "settingsWindow"

    required property SorvaneSettingsStore settings

    title: qsTr("Settings")
    width: fontInfo.averageCharacterWidth * 90
    height: fontInfo.height * 46
    minimumWidth: fontInfo.averageCharacterWidth * 60
    minimumHeight: fontInfo.height * 20

    // Labels of the stored raw values.
    readonly property var categoryLabels: ({
        bookmarks: qsTr("Bookmarks"), extensions: qsTr("Extensions"), settings: qsTr("Settings"),
        history: qsTr("History"), passwords: qsTr("Passwords")
    })
    readonly property var shapeLabels: ({
        circle: qsTr("Circle"), roundedSquare: qsTr("Rounded square"), square: qsTr("Square")
    })

    FontMetrics { id: fontInfo }

    onVisibleChanged: if (visible) settings.refreshInstalledBrowsers()

    // A control reached with Tab is scrolled into view.
    onActiveFocusItemChanged: {
        const page = tabs.currentIndex === 0 ? defaultsPage : browsersPage
        for (let item = activeFocusItem; item; item = item.parent) {
            if (item === page) {
                reveal(page, activeFocusItem)
                return
            }
        }
    }

    function reveal(page, item) {
        const flickable = page.contentItem
        const top = item.mapToItem(flickable.contentItem, 0, 0).y - fontInfo.height / 2
        const bottom = top + item.height + fontInfo.height
        if (top < flickable.contentY)
            flickable.contentY = Math.max(0, top)
        else if (bottom > flickable.contentY + flickable.height)
            flickable.contentY = bottom - flickable.height
    }

    Shortcut {
        sequences: [StandardKey.Close, "Escape"]
        onActivated: settingsWindow.close()
    }

    header: TabBar {
        id: tabs
        objectName: "settingsTabs"
        TabButton {
            objectName: "appDefaultsTab"
            text: qsTr("App Defaults")
            Accessible.name: text
        }
        TabButton {
            objectName: "browsersTab"
            text: qsTr("Browsers")
            Accessible.name: text
        }
    }

    footer: DialogButtonBox {
        Button {
            objectName: "closeSettingsButton"
            text: qsTr("Close")
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            Accessible.name: qsTr("Close the settings")
        }
        onRejected: settingsWindow.close()
    }

    StackLayout {
        anchors.fill: parent
        currentIndex: tabs.currentIndex

        // App Defaults
        ScrollView {
            id: defaultsPage
            contentWidth: availableWidth
            ColumnLayout {
                width: defaultsPage.availableWidth
                spacing: fontInfo.height * 0.6

                Label {
                    Layout.fillWidth: true
                    Layout.margins: fontInfo.height
                    Layout.bottomMargin: 0
                    text: qsTr("New apps start with these choices. You can change them for each app.")
                    wrapMode: Text.Wrap
                }

                GroupBox {
                    Layout.fillWidth: true
                    Layout.leftMargin: fontInfo.height
                    Layout.rightMargin: fontInfo.height
                    title: qsTr("Where new apps are saved")
                    RowLayout {
                        anchors.fill: parent
                        TextField {
                            id: saveLocationField
                            objectName: "saveLocationField"
                            Layout.fillWidth: true
                            text: settingsWindow.settings.defaultSaveLocation
                            selectByMouse: true
                            focus: true
                            Accessible.name: qsTr("Folder where new apps are saved")
                            onEditingFinished: {
                                settingsWindow.settings.defaultSaveLocation = text
                                // A folder that was refused shows the one kept.
                                text = Qt.binding(() => settingsWindow.settings.defaultSaveLocation)
                            }
                        }
                        Button {
                            objectName: "chooseSaveLocationButton"
                            text: qsTr("Choose…")
                            Accessible.name: qsTr("Choose the folder where new apps are saved")
                            onClicked: folderDialog.open()
                        }
                    }
                }

                GroupBox {
                    Layout.fillWidth: true
                    Layout.leftMargin: fontInfo.height
                    Layout.rightMargin: fontInfo.height
                    title: qsTr("New apps")
                    ColumnLayout {
                        anchors.fill: parent
                        Switch {
                            objectName: "registerAsBrowserSwitch"
                            text: qsTr("Can be chosen as the default web browser")
                            Accessible.name: text
                            checked: settingsWindow.settings.defaultRegisterAsBrowser
                            onToggled: settingsWindow.settings.defaultRegisterAsBrowser = checked
                        }
                        Switch {
                            objectName: "incognitoSwitch"
                            text: qsTr("Open in incognito mode (nothing is remembered)")
                            Accessible.name: text
                            checked: settingsWindow.settings.defaultIncognitoMode
                            onToggled: settingsWindow.settings.defaultIncognitoMode = checked
                        }
                        Switch {
                            objectName: "tabbedSwitch"
                            text: qsTr("Show several pages as tabs")
                            Accessible.name: text
                            checked: settingsWindow.settings.defaultTabbedApps
                            onToggled: settingsWindow.settings.defaultTabbedApps = checked
                        }
                        RowLayout {
                            Label { text: qsTr("Icon shape") }
                            ComboBox {
                                objectName: "iconShapeBox"
                                implicitContentWidthPolicy: ComboBox.WidestText
                                // In the order of IconShape.Shape.
                                model: settingsWindow.settings.iconShapeValues.map(v => settingsWindow.shapeLabels[v] || v)
                                currentIndex: settingsWindow.settings.defaultIconShape
                                Accessible.name: qsTr("Icon shape")
                                onActivated: index => settingsWindow.settings.defaultIconShape = index
                            }
                        }
                        Switch {
                            objectName: "storePageSwitch"
                            text: qsTr("Open the extension store in a second window on the first start")
                            Accessible.name: text
                            checked: settingsWindow.settings.storePageOnFirstStart
                            onToggled: settingsWindow.settings.storePageOnFirstStart = checked
                            ToolTip.visible: hovered
                            ToolTip.text: qsTr("So that you can add extensions to a new app. Apps made while this is off never show it.")
                        }
                    }
                }

                GroupBox {
                    Layout.fillWidth: true
                    Layout.leftMargin: fontInfo.height
                    Layout.rightMargin: fontInfo.height
                    title: qsTr("Engine switches for every app")
                    ColumnLayout {
                        anchors.fill: parent
                        TextField {
                            objectName: "engineSwitchesField"
                            Layout.fillWidth: true
                            text: settingsWindow.settings.defaultEngineSwitches
                            placeholderText: qsTr("e.g. --no-sandbox --ozone-platform=wayland")
                            selectByMouse: true
                            Accessible.name: qsTr("Engine switches for every app")
                            onEditingFinished: {
                                settingsWindow.settings.defaultEngineSwitches = text
                                if (settingsWindow.settings.engineSwitchesProblem === "")
                                    text = Qt.binding(() => settingsWindow.settings.defaultEngineSwitches)
                            }
                        }
                        Label {
                            objectName: "engineSwitchesProblem"
                            Layout.fillWidth: true
                            wrapMode: Text.Wrap
                            visible: text !== ""
                            color: "firebrick"
                            text: settingsWindow.settings.engineSwitchesProblem
                        }
                        Label {
                            Layout.fillWidth: true
                            wrapMode: Text.Wrap
                            opacity: 0.7
                            text: qsTr("Each starts with -- and is one word. Apps get them when they are made, edited or updated.")
                        }
                    }
                }

                GroupBox {
                    Layout.fillWidth: true
                    Layout.leftMargin: fontInfo.height
                    Layout.rightMargin: fontInfo.height
                    title: qsTr("Browser data")
                    ColumnLayout {
                        anchors.fill: parent
                        Switch {
                            id: importSwitch
                            objectName: "importSwitch"
                            text: qsTr("Bring data from your browser into new apps")
                            Accessible.name: text
                            checked: settingsWindow.settings.defaultImportEnabled
                            onToggled: settingsWindow.settings.defaultImportEnabled = checked
                        }
                        Flow {
                            Layout.fillWidth: true
                            Layout.leftMargin: fontInfo.height * 2
                            enabled: importSwitch.checked
                            spacing: fontInfo.height / 2
                            Repeater {
                                model: settingsWindow.settings.importCategoryValues
                                CheckBox {
                                    required property string modelData
                                    objectName: "importCategory:" + modelData
                                    text: settingsWindow.categoryLabels[modelData] || modelData
                                    checked: settingsWindow.settings.defaultImportCategories.indexOf(modelData) >= 0
                                    onToggled: {
                                        const chosen = settingsWindow.settings.defaultImportCategories.filter(c => c !== modelData)
                                        if (checked)
                                            chosen.push(modelData)
                                        settingsWindow.settings.defaultImportCategories = chosen
                                    }
                                }
                            }
                        }
                    }
                }

                GroupBox {
                    Layout.fillWidth: true
                    Layout.leftMargin: fontInfo.height
                    Layout.rightMargin: fontInfo.height
                    Layout.bottomMargin: fontInfo.height
                    title: qsTr("Updates")
                    Switch {
                        objectName: "automaticUpdatesSwitch"
                        text: qsTr("Update my apps automatically when Sorvane is updated")
                        Accessible.name: text
                        checked: settingsWindow.settings.automaticAppUpdates
                        onToggled: settingsWindow.settings.automaticAppUpdates = checked
                    }
                }
            }
        }

        // Browsers
        ScrollView {
            id: browsersPage
            contentWidth: availableWidth
            ColumnLayout {
                width: browsersPage.availableWidth
                spacing: fontInfo.height / 2

                Label {
                    Layout.fillWidth: true
                    Layout.margins: fontInfo.height
                    Layout.bottomMargin: 0
                    text: qsTr("Apps run on a browser installed on this computer. If Sorvane does not find one, choose its program here.")
                    wrapMode: Text.Wrap
                }

                Repeater {
                    model: settingsWindow.settings.browserTypes
                    delegate: GroupBox {
                        id: browserRow
                        required property int modelData
                        readonly property bool installed: settingsWindow.settings.installedBrowsers,
                                                          settingsWindow.settings.isInstalled(modelData)
                        readonly property string path: settingsWindow.settings.chromePath,
                                                       settingsWindow.settings.browserPath(modelData)
                        readonly property string name: settingsWindow.settings.browserName(modelData)
                        objectName: "browserRow:" + modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: fontInfo.height
                        Layout.rightMargin: fontInfo.height
                        title: name
                        Accessible.name: name

                        GridLayout {
                            anchors.fill: parent
                            columns: 3
                            Label {
                                objectName: "browserState:" + browserRow.modelData
                                Layout.columnSpan: 3
                                text: browserRow.installed ? qsTr("Installed") : qsTr("Not found")
                                font.bold: browserRow.installed
                                Accessible.name: qsTr("%1: %2").arg(browserRow.name).arg(text)
                            }
                            TextField {
                                objectName: "browserPathField:" + browserRow.modelData
                                Layout.fillWidth: true
                                text: browserRow.path
                                placeholderText: qsTr("Program of %1").arg(browserRow.name)
                                selectByMouse: true
                                Accessible.name: qsTr("Program of %1").arg(browserRow.name)
                                onEditingFinished: {
                                    settingsWindow.settings.setBrowserPath(browserRow.modelData, text)
                                    text = Qt.binding(() => browserRow.path)
                                }
                            }
                            Button {
                                objectName: "chooseBrowserButton:" + browserRow.modelData
                                text: qsTr("Choose…")
                                Accessible.name: qsTr("Choose the program of %1").arg(browserRow.name)
                                onClicked: {
                                    browserDialog.browserType = browserRow.modelData
                                    browserDialog.title = qsTr("Choose the program of %1").arg(browserRow.name)
                                    browserDialog.open()
                                }
                            }
                            Button {
                                objectName: "resetBrowserButton:" + browserRow.modelData
                                text: qsTr("Reset")
                                Accessible.name: qsTr("Reset the program of %1").arg(browserRow.name)
                                onClicked: settingsWindow.settings.resetBrowserPath(browserRow.modelData)
                            }
                        }
                    }
                }
                Item { Layout.preferredHeight: fontInfo.height }
            }
        }
    }

    FolderDialog {
        id: folderDialog
        title: qsTr("Choose where new apps are saved")
        onAccepted: settingsWindow.settings.chooseSaveLocation(selectedFolder)
    }

    FileDialog {
        id: browserDialog
        property int browserType: 0
        fileMode: FileDialog.OpenFile
        onAccepted: settingsWindow.settings.chooseBrowserPath(browserType, selectedFile)
    }
}
