# A small device: Ethernet WAN and one LAN port, no Wi-Fi, no telephone ports.
# README.md beside this file tells what each word means.

since 1.4

[]
with DeviceSummary
set DeviceSummary InternetGatewayDevice:1.4[](Baseline:1, EthernetLAN:1, EthernetWAN:1, Time:1, IPPing:1)
notify DeviceSummary passive

# --- The device itself -------------------------------------------------------

[DeviceInfo.]
object .
with ModelNumber
with SpecVersion
without ModemFirmwareVersion
set Manufacturer Vantrel
set ManufacturerOUI 000000
set ModelName Two Port Router
set ProductClass TwoPortRouter
set SpecVersion 1.0
live Manufacturer GetManufacturer
live ManufacturerOUI GetManufacturerOUI
live ModelName GetModelName
live ModelNumber GetModelNumber
live Description GetDescription
live ProductClass GetProductClass
live SerialNumber GetSN
live HardwareVersion GetHWVersion
live SoftwareVersion GetFWVersion
live UpTime GetSysUpTime
live DeviceLog GetSystemLog
notify SoftwareVersion active
notify ProvisioningCode active
notify HardwareVersion passive
notify SpecVersion passive

[ManagementServer.]
object .
set EnableCWMP 1
set URL https://acs.example.net/cwmp
set PeriodicInformEnable 1
set PeriodicInformInterval 86400
set UpgradesManaged 1
set STUNServerPort 3478
set STUNMaximumKeepAlivePeriod -1
set STUNMinimumKeepAlivePeriod 30
notify ParameterKey passive
notify ConnectionRequestURL active
notify UDPConnectionRequestAddress active

[Time.]
object .
set Enable 1
set NTPServer1 ntp1.example.net
set LocalTimeZoneName UTC0
set Status Unsynchronized
live CurrentLocalTime get_ntp_time

[LANConfigSecurity.]
object .

# --- Routing and diagnostics -------------------------------------------------

[Layer3Forwarding.]
object .
object Forwarding.{i}.
set DefaultConnectionService InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANIPConnection.1
set Forwarding.{i}.MTU 1500

[IPPingDiagnostics.]
object .
set NumberOfRepetitions 4
set Timeout 5000
set DataBlockSize 56
live SuccessCount GetIPPingDiagSuccessCount
live FailureCount GetIPPingDiagFailureCount
live AverageResponseTime GetIPPingDiagAvgResponseTime
live MinimumResponseTime GetIPPingDiagMinResponseTime
live MaximumResponseTime GetIPPingDiagMaxResponseTime

# --- The LAN port ------------------------------------------------------------

# The standard wants the counters even of the ports that are not there.
[LANDevice.{i}.]
object .
object LANHostConfigManagement.
object LANHostConfigManagement.IPInterface.{i}.
object LANHostConfigManagement.DHCPStaticAddress.{i}.
tree LANEthernetInterfaceConfig.{i}.
tree Hosts.
with LANUSBInterfaceNumberOfEntries
with LANWLANConfigurationNumberOfEntries
live LANHostConfigManagement.MACAddress GetEthMacAddr

[LANDevice.{i}.LANEthernetInterfaceConfig.{i}.]
set Enable 1
set Status NoLink
set MaxBitRate Auto
set DuplexMode Auto
live Status GetELANStatus
live MACAddress GetEthMacAddr
live Stats.PacketsSent GetELANStats
live Stats.PacketsReceived GetELANStats
live Stats.ErrorsReceived GetELANErrorsReceived

[]
instances LANDevice. 1
instances LANDevice.1.LANEthernetInterfaceConfig. 1
instances LANDevice.1.LANHostConfigManagement.IPInterface. 1

[LANDevice.1.]
set LANEthernetInterfaceConfig.1.Name lan1
set LANHostConfigManagement.DHCPServerEnable 1
set LANHostConfigManagement.MinAddress 192.168.1.100
set LANHostConfigManagement.MaxAddress 192.168.1.199
set LANHostConfigManagement.SubnetMask 255.255.255.0
set LANHostConfigManagement.DNSServers 192.168.1.1
set LANHostConfigManagement.IPRouters 192.168.1.1
set LANHostConfigManagement.IPInterface.1.Enable 1
set LANHostConfigManagement.IPInterface.1.IPInterfaceIPAddress 192.168.1.1
set LANHostConfigManagement.IPInterface.1.IPInterfaceSubnetMask 255.255.255.0
set LANHostConfigManagement.IPInterface.1.IPInterfaceAddressingType Static

# --- The WAN port ------------------------------------------------------------

[WANDevice.{i}.]
object .
object WANCommonInterfaceConfig.
tree WANEthernetInterfaceConfig.
object WANConnectionDevice.{i}.
object WANConnectionDevice.{i}.WANEthernetLinkConfig.
tree WANConnectionDevice.{i}.WANIPConnection.{i}.
with WANConnectionDevice.{i}.WANPPPConnectionNumberOfEntries
set WANConnectionDevice.{i}.WANEthernetLinkConfig.EthernetLinkStatus Down
live WANConnectionDevice.{i}.WANEthernetLinkConfig.EthernetLinkStatus COM_GetWANPhysicalLinkStatus

[]
instances WANDevice. 1
instances WANDevice.1.WANConnectionDevice. 1
instances WANDevice.1.WANConnectionDevice.1.WANIPConnection. 1

[WANDevice.{i}.WANCommonInterfaceConfig.]
set EnabledForInternet 1
set WANAccessType Ethernet
set Layer1UpstreamMaxBitRate 100000000
set Layer1DownstreamMaxBitRate 100000000
set PhysicalLinkStatus Down
set MaximumActiveConnections 1
live PhysicalLinkStatus COM_GetWANPhysicalLinkStatus
live TotalBytesSent COM_GetWANTotalBytesSent
live TotalBytesReceived COM_GetWANTotalBytesReceived
live TotalPacketsSent COM_GetWANTotalPacketsSent
live TotalPacketsReceived COM_GetWANTotalPacketsReceived

[WANDevice.{i}.WANEthernetInterfaceConfig.]
set Enable 1
set Status NoLink
set MaxBitRate 100
set DuplexMode Auto
live Status COM_GetWANPhysicalLinkStatus
live MACAddress GetWANMACAddress
live Stats.PacketsSent GetWANPacketsSent
live Stats.PacketsReceived GetWANPacketsReceived

[WANDevice.{i}.WANConnectionDevice.{i}.WANIPConnection.{i}.]
set ConnectionStatus Disconnected
set PossibleConnectionTypes Unconfigured,IP_Routed
set ConnectionType IP_Routed
set NATEnabled 1
set AddressingType DHCP
set MaxMTUSize 1500
set ConnectionTrigger AlwaysOn
set PortMapping.{i}.PortMappingProtocol TCP
live ConnectionStatus GetWANConnectionStatus
live Uptime GetWANUpTime
live ExternalIPAddress GetWANIPExternalIPAddress
live SubnetMask GetWANIPSubnetMask
live DefaultGateway GetWANDefaultGateway
live DNSServers GetWANDNSServers
live MACAddress GetWANMACAddress
live Stats.EthernetPacketsSent GetWANPacketsSent
live Stats.EthernetPacketsReceived GetWANPacketsReceived
live Stats.EthernetErrorsReceived GetWANEthernetErrorsReceived
notify ExternalIPAddress active

[WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.]
set Enable 1
set Name Internet

# --- What the daemon keeps for itself ----------------------------------------

# Here it notes which default rows the user deleted, in the first parameter of
# a row.
[]
vendor X_VT_MiscCfg. ro
vendor X_VT_MiscCfg.DeletedDefaultInstances.{i}. ro
counter X_VT_MiscCfg.DeletedDefaultInstances.{i}. DeletedDefaultInstancesNumberOfEntries
param X_VT_MiscCfg.DeletedDefaultInstances.{i}.URI string(32768) ro
