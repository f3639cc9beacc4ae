import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

ApplicationWindow {
    id: settingsWindow
    objectName: "settingsWindow"
    required property SorvaneSettingsStore settings
    title: qsTr("Settings")
    width: 640
    height: 560
}
