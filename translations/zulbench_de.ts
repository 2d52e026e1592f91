<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>ConnectionDialog</name>
    <message>
        <source>Connection Configuration Properties</source>
        <translation>Eigenschaften der Verbindung</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Übernehmen</translation>
    </message>
    <message>
        <source>50000</source>
        <translation>50000</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>Port:</translation>
    </message>
    <message>
        <source>127.0.0.1</source>
        <translation>127.0.0.1</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>IP-Adresse:</translation>
    </message>
    <message>
        <source>Descriptor:</source>
        <translation>Kennung:</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Main menu</source>
        <translation>Hauptmenü</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Add Item(s) to Device Configuration...</source>
        <translation>Der Gerätekonfiguration hinzufügen...</translation>
    </message>
    <message>
        <source>Remove Item(s) from Device Configuration...</source>
        <translation>Aus der Gerätekonfiguration entfernen...</translation>
    </message>
    <message>
        <source>Scripts</source>
        <translation>Skripte</translation>
    </message>
    <message>
        <source>Load existing device configuration...</source>
        <translation>Vorhandene Gerätekonfiguration laden...</translation>
    </message>
    <message>
        <source>Edit current device configuration...</source>
        <translation>Aktuelle Gerätekonfiguration bearbeiten...</translation>
    </message>
    <message>
        <source>Create new device configuration...</source>
        <translation>Neue Gerätekonfiguration anlegen...</translation>
    </message>
    <message>
        <source>Connection configuration...</source>
        <translation>Verbindungskonfiguration...</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>Edit current configuration...</source>
        <translation>Aktuelle Konfiguration bearbeiten...</translation>
    </message>
    <message>
        <source>Edit current connection configuration...</source>
        <translation>Aktuelle Verbindungskonfiguration bearbeiten...</translation>
    </message>
    <message>
        <source>Create new connection configuration...</source>
        <translation>Neue Verbindungskonfiguration anlegen...</translation>
    </message>
    <message>
        <source>Load existing connection configuration...</source>
        <translation>Vorhandene Verbindungskonfiguration laden...</translation>
    </message>
    <message>
        <source>Add Digital Input(s)...</source>
        <translation>Digitale Eingänge hinzufügen...</translation>
    </message>
    <message>
        <source>Add Digital Output(s)...</source>
        <translation>Digitale Ausgänge hinzufügen...</translation>
    </message>
    <message>
        <source>Add Analog Input(s)...</source>
        <translation>Analoge Eingänge hinzufügen...</translation>
    </message>
    <message>
        <source>Add Analog Output(s)...</source>
        <translation>Analoge Ausgänge hinzufügen...</translation>
    </message>
    <message>
        <source>Add Access Event(s)...</source>
        <translation>Zutrittsereignisse hinzufügen...</translation>
    </message>
    <message>
        <source>Remove Digital Input(s)...</source>
        <translation>Digitale Eingänge entfernen...</translation>
    </message>
    <message>
        <source>Remove Digital Output(s)...</source>
        <translation>Digitale Ausgänge entfernen...</translation>
    </message>
    <message>
        <source>Remove Analog Input(s)...</source>
        <translation>Analoge Eingänge entfernen...</translation>
    </message>
    <message>
        <source>Remove Analog Output(s)...</source>
        <translation>Analoge Ausgänge entfernen...</translation>
    </message>
    <message>
        <source>Remove Access Event(s)...</source>
        <translation>Zutrittsereignisse entfernen...</translation>
    </message>
    <message>
        <source>Device Configuration Properties...</source>
        <translation>Eigenschaften des Geräts...</translation>
    </message>
    <message>
        <source>Connection Configuration Properties...</source>
        <translation>Eigenschaften der Verbindung...</translation>
    </message>
    <message>
        <source>Connect Digital Inputs and Outputs...</source>
        <translation>Digitale Ein- und Ausgänge verbinden...</translation>
    </message>
    <message>
        <source>Connect Analog Inputs and Outputs...</source>
        <translation>Analoge Ein- und Ausgänge verbinden...</translation>
    </message>
    <message>
        <source>Select Script to Run...</source>
        <translation>Skript auswählen und ausführen...</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Datei öffnen</translation>
    </message>
    <message>
        <source>File Opening Error</source>
        <translation>Fehler beim Öffnen der Datei</translation>
    </message>
    <message>
        <source>Error: Could not open file.</source>
        <translation>Fehler: Die Datei konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>No Device Loaded</source>
        <translation>Kein Gerät geladen</translation>
    </message>
    <message>
        <source>You need to load a device before you can connect</source>
        <translation>Laden Sie ein Gerät, bevor Sie es verbinden</translation>
    </message>
    <message>
        <source>No Connection Configure</source>
        <translation>Keine Verbindung konfiguriert</translation>
    </message>
    <message>
        <source>You need to configure the connection parameters first</source>
        <translation>Konfigurieren Sie zuerst die Verbindung</translation>
    </message>
</context>
<context>
    <name>addItemsDialog</name>
    <message>
        <source>Add items</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Add item(s) to device</source>
        <translation>Dem Gerät hinzufügen</translation>
    </message>
</context>
<context>
    <name>cAInput</name>
    <message>
        <source>PortName</source>
        <translation>Portname</translation>
    </message>
    <message>
        <source>fT %</source>
        <translation>fT %</translation>
    </message>
</context>
<context>
    <name>cAOutput</name>
    <message>
        <source>PortName</source>
        <translation>Portname</translation>
    </message>
</context>
<context>
    <name>cAccess</name>
    <message>
        <source>SCANNER %1</source>
        <translation>LESER %1</translation>
    </message>
</context>
<context>
    <name>cAdHocEvent</name>
    <message>
        <source>Send Event</source>
        <translation>Ereignis senden</translation>
    </message>
    <message>
        <source>Event ID</source>
        <translation>Ereignis-ID</translation>
    </message>
    <message>
        <source>Event Label</source>
        <translation>Name des Ereignisses</translation>
    </message>
    <message>
        <source>Event Value</source>
        <translation>Wert des Ereignisses</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Senden</translation>
    </message>
</context>
<context>
    <name>cDInput</name>
    <message>
        <source>HIGH</source>
        <translation>HIGH</translation>
    </message>
    <message>
        <source>LOW</source>
        <translation>LOW</translation>
    </message>
</context>
<context>
    <name>cDOutput</name>
    <message>
        <source>PortName</source>
        <translation>Portname</translation>
    </message>
    <message>
        <source>HIGH</source>
        <translation>HIGH</translation>
    </message>
    <message>
        <source>LOW</source>
        <translation>LOW</translation>
    </message>
</context>
<context>
    <name>cDevice</name>
    <message>
        <source>Port Label</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Default State</source>
        <translation>Grundzustand</translation>
    </message>
    <message>
        <source>Current State</source>
        <translation>Aktueller Zustand</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Faktor</translation>
    </message>
    <message>
        <source>Offset</source>
        <translation>Offset</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Takt</translation>
    </message>
    <message>
        <source>Current Value</source>
        <translation>Aktueller Wert</translation>
    </message>
    <message>
        <source>Scanner Label</source>
        <translation>Kartenleser</translation>
    </message>
    <message>
        <source>Scan Code</source>
        <translation>Kartencode</translation>
    </message>
    <message>
        <source>Digital Inputs</source>
        <translation>Digitale Eingänge</translation>
    </message>
    <message>
        <source>Digital Outputs</source>
        <translation>Digitale Ausgänge</translation>
    </message>
    <message>
        <source>Analog Inputs</source>
        <translation>Analoge Eingänge</translation>
    </message>
    <message>
        <source>Analog Outputs</source>
        <translation>Analoge Ausgänge</translation>
    </message>
    <message>
        <source>Digital Input and Output Connections</source>
        <translation>Verdrahtung digital</translation>
    </message>
    <message>
        <source>Analog Input and Output Connections</source>
        <translation>Verdrahtung analog</translation>
    </message>
    <message>
        <source>Access Events</source>
        <translation>Zutrittsereignisse</translation>
    </message>
    <message>
        <source>Adhoc Events</source>
        <translation>Ad-hoc-Ereignisse</translation>
    </message>
    <message>
        <source>Inputs:</source>
        <translation>Eingänge:</translation>
    </message>
    <message>
        <source>Digital Input </source>
        <translation>Digitaler Eingang </translation>
    </message>
    <message>
        <source>Outputs:</source>
        <translation>Ausgänge:</translation>
    </message>
    <message>
        <source>Digital Output </source>
        <translation>Digitaler Ausgang </translation>
    </message>
    <message>
        <source>Analog Input </source>
        <translation>Analoger Eingang </translation>
    </message>
    <message>
        <source>Analog Output </source>
        <translation>Analoger Ausgang </translation>
    </message>
</context>
<context>
    <name>configPropertiesDialog</name>
    <message>
        <source>Device Configuration Properties</source>
        <translation>Eigenschaften des Geräts</translation>
    </message>
    <message>
        <source>Device Label:</source>
        <translation>Gerätename:</translation>
    </message>
    <message>
        <source>Device Serial:</source>
        <translation>Seriennummer:</translation>
    </message>
    <message>
        <source>Device Version:</source>
        <translation>Version:</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Übernehmen</translation>
    </message>
</context>
<context>
    <name>createConnectionDialog</name>
    <message>
        <source>New connection setup</source>
        <translation>Neue Verbindung</translation>
    </message>
    <message>
        <source>127.0.0.1</source>
        <translation>127.0.0.1</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>IP-Adresse:</translation>
    </message>
    <message>
        <source>Descriptor:</source>
        <translation>Kennung:</translation>
    </message>
    <message>
        <source>50000</source>
        <translation>50000</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>Port:</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
</context>
<context>
    <name>createdialog</name>
    <message>
        <source>New device setup</source>
        <translation>Neues Gerät</translation>
    </message>
    <message>
        <source>Discrete Inputs:</source>
        <translation>Digitale Eingänge:</translation>
    </message>
    <message>
        <source>Discrete Outputs:</source>
        <translation>Digitale Ausgänge:</translation>
    </message>
    <message>
        <source>Analog Inputs:</source>
        <translation>Analoge Eingänge:</translation>
    </message>
    <message>
        <source>Analog Outputs:</source>
        <translation>Analoge Ausgänge:</translation>
    </message>
    <message>
        <source>Number of Scanners:</source>
        <translation>Kartenleser:</translation>
    </message>
    <message>
        <source>Device Type:</source>
        <translation>Gerätetyp:</translation>
    </message>
    <message>
        <source>Device Type</source>
        <translation>Gerätetyp</translation>
    </message>
    <message>
        <source>Device Label:</source>
        <translation>Gerätename:</translation>
    </message>
    <message>
        <source>Device Version Number:</source>
        <translation>Versionsnummer:</translation>
    </message>
    <message>
        <source>Device Serial Number:</source>
        <translation>Seriennummer:</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
    <message>
        <source>Please provide a label for the device.</source>
        <translation>Bitte geben Sie dem Gerät einen Namen.</translation>
    </message>
    <message>
        <source>Please provide a version number for the device.</source>
        <translation>Bitte geben Sie die Versionsnummer des Geräts an.</translation>
    </message>
    <message>
        <source>Please provide a serial number for the device.</source>
        <translation>Bitte geben Sie die Seriennummer des Geräts an.</translation>
    </message>
    <message>
        <source>Device setup</source>
        <translation>Gerät anlegen</translation>
    </message>
</context>
<context>
    <name>itemkind</name>
    <message>
        <source>Number of Digital Inputs:</source>
        <translation>Anzahl digitaler Eingänge:</translation>
    </message>
    <message>
        <source>Number of Digital Outputs:</source>
        <translation>Anzahl digitaler Ausgänge:</translation>
    </message>
    <message>
        <source>Number of Analog Inputs:</source>
        <translation>Anzahl analoger Eingänge:</translation>
    </message>
    <message>
        <source>Number of Analog Outputs:</source>
        <translation>Anzahl analoger Ausgänge:</translation>
    </message>
    <message>
        <source>Number of Access Events:</source>
        <translation>Anzahl der Kartenleser:</translation>
    </message>
</context>
<context>
    <name>removeItemDialog</name>
    <message>
        <source>Remove items</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Remove item(s) from device</source>
        <translation>Vom Gerät entfernen</translation>
    </message>
</context>
</TS>
