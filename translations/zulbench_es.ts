<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es">
<context>
    <name>ConnectionDialog</name>
    <message>
        <source>Connection Configuration Properties</source>
        <translation>Propiedades de la conexión</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
    <message>
        <source>50000</source>
        <translation>50000</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>Puerto:</translation>
    </message>
    <message>
        <source>127.0.0.1</source>
        <translation>127.0.0.1</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>Dirección IP:</translation>
    </message>
    <message>
        <source>Descriptor:</source>
        <translation>Descriptor:</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Main menu</source>
        <translation>Menú principal</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Archivo</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Editar</translation>
    </message>
    <message>
        <source>Add Item(s) to Device Configuration...</source>
        <translation>Añadir a la configuración del dispositivo...</translation>
    </message>
    <message>
        <source>Remove Item(s) from Device Configuration...</source>
        <translation>Quitar de la configuración del dispositivo...</translation>
    </message>
    <message>
        <source>Scripts</source>
        <translation>Scripts</translation>
    </message>
    <message>
        <source>Load existing device configuration...</source>
        <translation>Cargar una configuración de dispositivo existente...</translation>
    </message>
    <message>
        <source>Edit current device configuration...</source>
        <translation>Editar la configuración de dispositivo actual...</translation>
    </message>
    <message>
        <source>Create new device configuration...</source>
        <translation>Crear una configuración de dispositivo nueva...</translation>
    </message>
    <message>
        <source>Connection configuration...</source>
        <translation>Configuración de la conexión...</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Conectar</translation>
    </message>
    <message>
        <source>Edit current configuration...</source>
        <translation>Editar la configuración actual...</translation>
    </message>
    <message>
        <source>Edit current connection configuration...</source>
        <translation>Editar la configuración de conexión actual...</translation>
    </message>
    <message>
        <source>Create new connection configuration...</source>
        <translation>Crear una configuración de conexión nueva...</translation>
    </message>
    <message>
        <source>Load existing connection configuration...</source>
        <translation>Cargar una configuración de conexión existente...</translation>
    </message>
    <message>
        <source>Add Digital Input(s)...</source>
        <translation>Añadir entradas digitales...</translation>
    </message>
    <message>
        <source>Add Digital Output(s)...</source>
        <translation>Añadir salidas digitales...</translation>
    </message>
    <message>
        <source>Add Analog Input(s)...</source>
        <translation>Añadir entradas analógicas...</translation>
    </message>
    <message>
        <source>Add Analog Output(s)...</source>
        <translation>Añadir salidas analógicas...</translation>
    </message>
    <message>
        <source>Add Access Event(s)...</source>
        <translation>Añadir eventos de acceso...</translation>
    </message>
    <message>
        <source>Remove Digital Input(s)...</source>
        <translation>Quitar entradas digitales...</translation>
    </message>
    <message>
        <source>Remove Digital Output(s)...</source>
        <translation>Quitar salidas digitales...</translation>
    </message>
    <message>
        <source>Remove Analog Input(s)...</source>
        <translation>Quitar entradas analógicas...</translation>
    </message>
    <message>
        <source>Remove Analog Output(s)...</source>
        <translation>Quitar salidas analógicas...</translation>
    </message>
    <message>
        <source>Remove Access Event(s)...</source>
        <translation>Quitar eventos de acceso...</translation>
    </message>
    <message>
        <source>Device Configuration Properties...</source>
        <translation>Propiedades del dispositivo...</translation>
    </message>
    <message>
        <source>Connection Configuration Properties...</source>
        <translation>Propiedades de la conexión...</translation>
    </message>
    <message>
        <source>Connect Digital Inputs and Outputs...</source>
        <translation>Conectar entradas y salidas digitales...</translation>
    </message>
    <message>
        <source>Connect Analog Inputs and Outputs...</source>
        <translation>Conectar entradas y salidas analógicas...</translation>
    </message>
    <message>
        <source>Select Script to Run...</source>
        <translation>Elegir el script que se ejecutará...</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Abrir archivo</translation>
    </message>
    <message>
        <source>File Opening Error</source>
        <translation>Error al abrir el archivo</translation>
    </message>
    <message>
        <source>Error: Could not open file.</source>
        <translation>Error: No se pudo abrir el archivo.</translation>
    </message>
    <message>
        <source>No Device Loaded</source>
        <translation>No hay ningún dispositivo cargado</translation>
    </message>
    <message>
        <source>You need to load a device before you can connect</source>
        <translation>Cargue un dispositivo antes de conectar</translation>
    </message>
    <message>
        <source>No Connection Configure</source>
        <translation>No hay ninguna conexión configurada</translation>
    </message>
    <message>
        <source>You need to configure the connection parameters first</source>
        <translation>Configure primero los parámetros de la conexión</translation>
    </message>
</context>
<context>
    <name>addItemsDialog</name>
    <message>
        <source>Add items</source>
        <translation>Añadir</translation>
    </message>
    <message>
        <source>Add item(s) to device</source>
        <translation>Añadir al dispositivo</translation>
    </message>
</context>
<context>
    <name>cAInput</name>
    <message>
        <source>PortName</source>
        <translation>Puerto</translation>
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
        <translation>Puerto</translation>
    </message>
</context>
<context>
    <name>cAccess</name>
    <message>
        <source>SCANNER %1</source>
        <translation>LECTOR %1</translation>
    </message>
</context>
<context>
    <name>cAdHocEvent</name>
    <message>
        <source>Send Event</source>
        <translation>Enviar evento</translation>
    </message>
    <message>
        <source>Event ID</source>
        <translation>ID del evento</translation>
    </message>
    <message>
        <source>Event Label</source>
        <translation>Nombre del evento</translation>
    </message>
    <message>
        <source>Event Value</source>
        <translation>Valor del evento</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Enviar</translation>
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
        <translation>Puerto</translation>
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
        <translation>Puerto</translation>
    </message>
    <message>
        <source>Default State</source>
        <translation>Estado normal</translation>
    </message>
    <message>
        <source>Current State</source>
        <translation>Estado actual</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Factor</translation>
    </message>
    <message>
        <source>Offset</source>
        <translation>Offset</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Ritmo</translation>
    </message>
    <message>
        <source>Current Value</source>
        <translation>Valor actual</translation>
    </message>
    <message>
        <source>Scanner Label</source>
        <translation>Lector</translation>
    </message>
    <message>
        <source>Scan Code</source>
        <translation>Código de tarjeta</translation>
    </message>
    <message>
        <source>Digital Inputs</source>
        <translation>Entradas digitales</translation>
    </message>
    <message>
        <source>Digital Outputs</source>
        <translation>Salidas digitales</translation>
    </message>
    <message>
        <source>Analog Inputs</source>
        <translation>Entradas analógicas</translation>
    </message>
    <message>
        <source>Analog Outputs</source>
        <translation>Salidas analógicas</translation>
    </message>
    <message>
        <source>Digital Input and Output Connections</source>
        <translation>Conexiones digitales</translation>
    </message>
    <message>
        <source>Analog Input and Output Connections</source>
        <translation>Conexiones analógicas</translation>
    </message>
    <message>
        <source>Access Events</source>
        <translation>Eventos de acceso</translation>
    </message>
    <message>
        <source>Adhoc Events</source>
        <translation>Eventos ad hoc</translation>
    </message>
    <message>
        <source>Inputs:</source>
        <translation>Entradas:</translation>
    </message>
    <message>
        <source>Digital Input </source>
        <translation>Entrada digital </translation>
    </message>
    <message>
        <source>Outputs:</source>
        <translation>Salidas:</translation>
    </message>
    <message>
        <source>Digital Output </source>
        <translation>Salida digital </translation>
    </message>
    <message>
        <source>Analog Input </source>
        <translation>Entrada analógica </translation>
    </message>
    <message>
        <source>Analog Output </source>
        <translation>Salida analógica </translation>
    </message>
</context>
<context>
    <name>configPropertiesDialog</name>
    <message>
        <source>Device Configuration Properties</source>
        <translation>Propiedades del dispositivo</translation>
    </message>
    <message>
        <source>Device Label:</source>
        <translation>Nombre:</translation>
    </message>
    <message>
        <source>Device Serial:</source>
        <translation>Número de serie:</translation>
    </message>
    <message>
        <source>Device Version:</source>
        <translation>Versión:</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
</context>
<context>
    <name>createConnectionDialog</name>
    <message>
        <source>New connection setup</source>
        <translation>Conexión nueva</translation>
    </message>
    <message>
        <source>127.0.0.1</source>
        <translation>127.0.0.1</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>Dirección IP:</translation>
    </message>
    <message>
        <source>Descriptor:</source>
        <translation>Descriptor:</translation>
    </message>
    <message>
        <source>50000</source>
        <translation>50000</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>Puerto:</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Crear</translation>
    </message>
</context>
<context>
    <name>createdialog</name>
    <message>
        <source>New device setup</source>
        <translation>Dispositivo nuevo</translation>
    </message>
    <message>
        <source>Discrete Inputs:</source>
        <translation>Entradas digitales:</translation>
    </message>
    <message>
        <source>Discrete Outputs:</source>
        <translation>Salidas digitales:</translation>
    </message>
    <message>
        <source>Analog Inputs:</source>
        <translation>Entradas analógicas:</translation>
    </message>
    <message>
        <source>Analog Outputs:</source>
        <translation>Salidas analógicas:</translation>
    </message>
    <message>
        <source>Number of Scanners:</source>
        <translation>Lectores:</translation>
    </message>
    <message>
        <source>Device Type:</source>
        <translation>Tipo:</translation>
    </message>
    <message>
        <source>Device Type</source>
        <translation>Tipo</translation>
    </message>
    <message>
        <source>Device Label:</source>
        <translation>Nombre:</translation>
    </message>
    <message>
        <source>Device Version Number:</source>
        <translation>Número de versión:</translation>
    </message>
    <message>
        <source>Device Serial Number:</source>
        <translation>Número de serie:</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Crear</translation>
    </message>
    <message>
        <source>Please provide a label for the device.</source>
        <translation>Indique un nombre para el dispositivo.</translation>
    </message>
    <message>
        <source>Please provide a version number for the device.</source>
        <translation>Indique el número de versión del dispositivo.</translation>
    </message>
    <message>
        <source>Please provide a serial number for the device.</source>
        <translation>Indique el número de serie del dispositivo.</translation>
    </message>
    <message>
        <source>Device setup</source>
        <translation>Crear dispositivo</translation>
    </message>
</context>
<context>
    <name>itemkind</name>
    <message>
        <source>Number of Digital Inputs:</source>
        <translation>Número de entradas digitales:</translation>
    </message>
    <message>
        <source>Number of Digital Outputs:</source>
        <translation>Número de salidas digitales:</translation>
    </message>
    <message>
        <source>Number of Analog Inputs:</source>
        <translation>Número de entradas analógicas:</translation>
    </message>
    <message>
        <source>Number of Analog Outputs:</source>
        <translation>Número de salidas analógicas:</translation>
    </message>
    <message>
        <source>Number of Access Events:</source>
        <translation>Número de lectores:</translation>
    </message>
</context>
<context>
    <name>removeItemDialog</name>
    <message>
        <source>Remove items</source>
        <translation>Quitar</translation>
    </message>
    <message>
        <source>Remove item(s) from device</source>
        <translation>Quitar del dispositivo</translation>
    </message>
</context>
</TS>
