# Home gateway: Ethernet WAN, a four port switch, Wi-Fi on 2.4 and 5 GHz, two
# telephone ports. README.md beside this file tells what each word means.

since 1.5
since VoiceService:1.0

[]
with DeviceSummary
set DeviceSummary InternetGatewayDevice:1.5[](Baseline:1, EthernetLAN:1, WiFiLAN:1, EthernetWAN:1, QoS:1, Time:1, IPPing:1), VoiceService:1.0[1](Endpoint:1, SIPEndpoint:1)
notify DeviceSummary passive

# --- The device itself -------------------------------------------------------

[DeviceInfo.]
object .
object VendorConfigFile.{i}.
object MemoryStatus.
with ModelNumber
with SpecVersion
without ModemFirmwareVersion
set Manufacturer Vantrel
set ManufacturerOUI 000000
set ModelName Home Gateway
set ProductClass HomeGateway
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
live MemoryStatus.Total GetTotalRAM
live MemoryStatus.Free GetFreeRAM
notify SoftwareVersion active
notify ProvisioningCode active
notify HardwareVersion passive
notify SpecVersion passive
notify VendorConfigFile.{i}.Name passive
notify VendorConfigFile.{i}.Version passive
notify VendorConfigFile.{i}.Date passive
notify VendorConfigFile.{i}.Description passive

param X_VT_DeviceName string(64) ro
param X_VT_ManufacturerUrl string(256) ro
param X_VT_ModelUrl string(256) ro
param X_VT_CWMPLog string(32768) ro
param X_VT_TotalRAM unsignedInt ro
param X_VT_FreeRAM unsignedInt ro
param X_VT_CPUUtilization string(16) ro
live X_VT_DeviceName GetDeviceName
live X_VT_ManufacturerUrl GetManufacturerUrl
live X_VT_ModelUrl GetModelUrl
live X_VT_CWMPLog GetCWMPLog
live X_VT_TotalRAM GetTotalRAM
live X_VT_FreeRAM GetFreeRAM
live X_VT_CPUUtilization GetCPUUtilization

[DeviceConfig.]
object .
notify ConfigFile passive

[ManagementServer.]
object .
object ManageableDevice.{i}.
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
notify ManageableDeviceNumberOfEntries active

[Time.]
object .
set Enable 1
set NTPServer1 ntp1.example.net
set NTPServer2 ntp2.example.net
set LocalTimeZoneName UTC0
set Status Unsynchronized
live CurrentLocalTime get_ntp_time

[UserInterface.]
object .
object RemoteAccess.
set PasswordRequired 1
set PasswordUserSelectable 1
set ISPHelpPage https://support.example.net/gateway?lang=en&topic=start
set TextColor 000000
set BackgroundColor FFFFFF
set ButtonColor 336699
set ButtonTextColor FFFFFF
set AvailableLanguages en,de,es,fr
set SharedPassword 1
set CurrentLanguage en
set RemoteAccess.Port 443
set RemoteAccess.SupportedProtocols HTTP,HTTPS
set RemoteAccess.Protocol HTTPS

[LANConfigSecurity.]
object .

# --- Routing and diagnostics -------------------------------------------------

# Row 1 stands for the route that the default connection brings along.
[Layer3Forwarding.]
object .
object Forwarding.{i}.
set DefaultConnectionService InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANIPConnection.1
set Forwarding.{i}.MTU 1500
instances Forwarding. 1
set Forwarding.1.Enable 1
set Forwarding.1.Status Enabled
set Forwarding.1.StaticRoute 0
set Forwarding.1.DestIPAddress 0.0.0.0
set Forwarding.1.DestSubnetMask 0.0.0.0
set Forwarding.1.Interface InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANIPConnection.1

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

# --- LAN ---------------------------------------------------------------------

# The standard wants the USB counter even where there is no such port.
[LANDevice.{i}.]
object .
tree LANHostConfigManagement.
tree LANEthernetInterfaceConfig.{i}.
tree WLANConfiguration.{i}.
tree Hosts.
with LANUSBInterfaceNumberOfEntries

[]
instances LANDevice. 1

[LANDevice.{i}.LANHostConfigManagement.]
counter DHCPConditionalServingPool.{i}. DHCPConditionalServingPoolNumberOfEntries
live MACAddress GetEthMacAddr

[LANDevice.1.LANHostConfigManagement.]
set DHCPServerEnable 1
set MinAddress 192.168.1.100
set MaxAddress 192.168.1.199
set SubnetMask 255.255.255.0
set DNSServers 192.168.1.1
set DomainName home.arpa
set IPRouters 192.168.1.1
instances IPInterface. 1
set IPInterface.1.Enable 1
set IPInterface.1.IPInterfaceIPAddress 192.168.1.1
set IPInterface.1.IPInterfaceSubnetMask 255.255.255.0
set IPInterface.1.IPInterfaceAddressingType Static

# One counter record serves the whole switch, so every port shows its packets.
# What the switch may know of a single port stands beside it; the kinds of
# packet have no source on this device and stay as stored.
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
live Stats.DiscardPacketsSent GetELANDiscardPacketsSent
live Stats.DiscardPacketsReceived GetELANDiscardPacketsReceived
param Stats.X_VT_PortPacketsSent unsignedInt ro
param Stats.X_VT_PortPacketsReceived unsignedInt ro
live Stats.X_VT_PortPacketsSent GetELANPacketsSent
live Stats.X_VT_PortPacketsReceived GetELANPacketsReceived

[LANDevice.1.]
instances LANEthernetInterfaceConfig. 1-4
set LANEthernetInterfaceConfig.1.Name lan1
set LANEthernetInterfaceConfig.2.Name lan2
set LANEthernetInterfaceConfig.3.Name lan3
set LANEthernetInterfaceConfig.4.Name lan4

# --- Wi-Fi -------------------------------------------------------------------

[LANDevice.{i}.WLANConfiguration.{i}.]
counter AssociatedDevice.{i}. AssociatedDeviceNumberOfEntries
counter WEPKey.{i}. WEPKeyNumberOfEntries
counter PreSharedKey.{i}. PreSharedKeyNumberOfEntries
counter APWMMParameter.{i}. APWMMParameterNumberOfEntries
counter STAWMMParameter.{i}. STAWMMParameterNumberOfEntries
set Status Disabled
set MaxBitRate Auto
set BeaconType 11i
set Standard n
set WEPEncryptionLevel Disabled,40-bit,104-bit
set WPAEncryptionModes TKIPEncryption
set IEEE11iEncryptionModes AESEncryption
set BeaconAdvertisementEnabled 1
set SSIDAdvertisementEnabled 1
set RadioEnabled 1
set TransmitPowerSupported 25,50,75,100
set TransmitPower 100
set AutoRateFallBackEnabled 1
set AutoChannelEnable 1
set WMMSupported 1
set WMMEnable 1
live Channel GetWLANChannel
live Stats.ErrorsSent GetWLANErrorsSent
live Stats.ErrorsReceived GetWLANErrorsReceived
live Stats.UnicastPacketsSent GetWLANUnicastPacketsSent
live Stats.UnicastPacketsReceived GetWLANUnicastPacketsReceived
live Stats.DiscardPacketsSent GetWLANDiscardPacketsSent
live Stats.DiscardPacketsReceived GetWLANDiscardPacketsReceived
live Stats.MulticastPacketsSent GetWLANMulticastPacketsSent
live Stats.MulticastPacketsReceived GetWLANMulticastPacketsReceived
live Stats.BroadcastPacketsSent GetWLANBroadcastPacketsSent
live Stats.BroadcastPacketsReceived GetWLANBroadcastPacketsReceived

[LANDevice.{i}.WLANConfiguration.{i}.WPS.]
set Version 16
set ConfigMethodsSupported Label,PushButton
set ConfigMethodsEnabled PushButton
set SetupLockedState Unlocked
set ConfigurationState Not configured

[LANDevice.1.]
instances WLANConfiguration. 1-2

# Four keys and ten passphrases are what the standard prescribes; the four
# access categories come in its order: best effort, background, video, voice.
[LANDevice.1.WLANConfiguration.{i}.]
instances WEPKey. 1-4
instances PreSharedKey. 1-10
instances APWMMParameter. 1-4
instances STAWMMParameter. 1-4
set Enable 1
set WPS.Enable 1

[LANDevice.1.WLANConfiguration.1.]
set Name wlan0
set SSID Vantrel-2.4G
set Channel 6
set PossibleChannels 1-13
set BasicDataTransmitRates 1,2,5.5,11
set OperationalDataTransmitRates 1,2,5.5,6,9,11,12,18,24,36,48,54
set PossibleDataTransmitRates 1,2,5.5,6,9,11,12,18,24,36,48,54

[LANDevice.1.WLANConfiguration.2.]
set Name wlan1
set SSID Vantrel-5G
set Channel 36
set PossibleChannels 36,40,44,48,52,56,60,64,100,104,108,112,116,120,124,128,132,136,140
set BasicDataTransmitRates 6,12,24
set OperationalDataTransmitRates 6,9,12,18,24,36,48,54
set PossibleDataTransmitRates 6,9,12,18,24,36,48,54

[LANDevice.{i}.WLANConfiguration.{i}.APWMMParameter.1.]
set AIFSN 3
set ECWMin 4
set ECWMax 6
[LANDevice.{i}.WLANConfiguration.{i}.APWMMParameter.2.]
set AIFSN 7
set ECWMin 4
set ECWMax 10
[LANDevice.{i}.WLANConfiguration.{i}.APWMMParameter.3.]
set ECWMin 3
set ECWMax 4
set TXOP 94
[LANDevice.{i}.WLANConfiguration.{i}.APWMMParameter.4.]
set ECWMin 2
set ECWMax 3
set TXOP 47
[LANDevice.{i}.WLANConfiguration.{i}.STAWMMParameter.1.]
set AIFSN 3
set ECWMin 4
set ECWMax 10
[LANDevice.{i}.WLANConfiguration.{i}.STAWMMParameter.2.]
set AIFSN 7
set ECWMin 4
set ECWMax 10
[LANDevice.{i}.WLANConfiguration.{i}.STAWMMParameter.3.]
set ECWMin 3
set ECWMax 4
set TXOP 94
[LANDevice.{i}.WLANConfiguration.{i}.STAWMMParameter.4.]
set ECWMin 2
set ECWMax 3
set TXOP 47

# --- WAN ---------------------------------------------------------------------

[WANDevice.{i}.]
object .
tree WANCommonInterfaceConfig.
tree WANEthernetInterfaceConfig.
object WANConnectionDevice.{i}.
object WANConnectionDevice.{i}.WANEthernetLinkConfig.
tree WANConnectionDevice.{i}.WANIPConnection.{i}.
tree WANConnectionDevice.{i}.WANPPPConnection.{i}.

[]
instances WANDevice. 1
instances WANDevice.1.WANConnectionDevice. 1
instances WANDevice.1.WANConnectionDevice.1.WANIPConnection. 1
instances WANDevice.1.WANConnectionDevice.1.WANPPPConnection. 1

[WANDevice.{i}.WANCommonInterfaceConfig.]
counter Connection.{i}. ConnectionNumberOfEntries
set EnabledForInternet 1
set WANAccessType Ethernet
set Layer1UpstreamMaxBitRate 1000000000
set Layer1DownstreamMaxBitRate 1000000000
set PhysicalLinkStatus Down
set MaximumActiveConnections 4
live PhysicalLinkStatus COM_GetWANPhysicalLinkStatus
live TotalBytesSent COM_GetWANTotalBytesSent
live TotalBytesReceived COM_GetWANTotalBytesReceived
live TotalPacketsSent COM_GetWANTotalPacketsSent
live TotalPacketsReceived COM_GetWANTotalPacketsReceived

[WANDevice.{i}.WANEthernetInterfaceConfig.]
set Enable 1
set Status NoLink
set MaxBitRate 1000
set DuplexMode Auto
set ShapingRate -1
live Status COM_GetWANPhysicalLinkStatus
live MACAddress GetWANMACAddress
live Stats.BytesSent GetWANBytesSent
live Stats.BytesReceived GetWANBytesReceived
live Stats.PacketsSent GetWANPacketsSent
live Stats.PacketsReceived GetWANPacketsReceived

[WANDevice.{i}.WANConnectionDevice.{i}.]
set WANEthernetLinkConfig.EthernetLinkStatus Down
live WANEthernetLinkConfig.EthernetLinkStatus COM_GetWANPhysicalLinkStatus

# "Disconneting" in the standard's list is a slip that it keeps for old devices.
[WANDevice.{i}.WANConnectionDevice.{i}.WANIPConnection.{i}.]
set ConnectionStatus Disconnected
set PossibleConnectionTypes Unconfigured,IP_Routed,IP_Bridged
set ConnectionType IP_Routed
set NATEnabled 1
set AddressingType DHCP
set MaxMTUSize 1500
set ConnectionTrigger AlwaysOn
param X_VT_LeaseTime unsignedInt ro
live ConnectionStatus GetWANConnectionStatus
live Uptime GetWANUpTime
live ExternalIPAddress GetWANIPExternalIPAddress
live SubnetMask GetWANIPSubnetMask
live DefaultGateway GetWANDefaultGateway
live DNSServers GetWANDNSServers
live MACAddress GetWANMACAddress
live X_VT_LeaseTime GetWANLeaseTime
set PortMapping.{i}.PortMappingProtocol TCP
notify ExternalIPAddress active

[WANDevice.{i}.WANConnectionDevice.{i}.WANIPConnection.{i}.Stats.]
live EthernetBytesSent GetWANBytesSent
live EthernetBytesReceived GetWANBytesReceived
live EthernetPacketsSent GetWANPacketsSent
live EthernetPacketsReceived GetWANPacketsReceived
live EthernetErrorsSent GetWANEthernetErrorsSent
live EthernetErrorsReceived GetWANEthernetErrorsReceived
live EthernetUnicastPacketsSent GetWANEthernetUnicastPacketsSent
live EthernetUnicastPacketsReceived GetWANEthernetUnicastPacketsReceived
live EthernetBroadcastPacketsSent GetWANEthernetBroadcastPacketsSent
live EthernetBroadcastPacketsReceived GetWANEthernetBroadcastPacketsReceived
live EthernetMulticastPacketsSent GetWANEthernetMulticastPacketsSent
live EthernetMulticastPacketsReceived GetWANEthernetMulticastPacketsReceived

[WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.]
set Enable 1
set Name Internet

[WANDevice.{i}.WANConnectionDevice.{i}.WANPPPConnection.{i}.]
set ConnectionStatus Disconnected
set PossibleConnectionTypes Unconfigured,IP_Routed,PPPoE_Bridged
set ConnectionType IP_Routed
set NATEnabled 1
set PPPAuthenticationProtocol CHAP
set MaxMRUSize 1492
set CurrentMRUSize 1492
set TransportType PPPoE
set ConnectionTrigger AlwaysOn
set PPPLCPEcho 30
set PPPLCPEchoRetry 3
live Reset GetWANPPPReset
live ConnectionStatus GetWANConnectionStatus
live PPPoESessionID GetWANPPPoESessionID
live Uptime GetWANUpTime
live ExternalIPAddress GetPPPExternalIPAddress
live RemoteIPAddress GetPPPRemoteIPAddress
live CurrentMRUSize GetPPPCurrentMRUSize
live DNSServers GetWANDNSServers
live MACAddress GetWANMACAddress
live DefaultGateway GetWANDefaultGateway
set PortMapping.{i}.PortMappingProtocol TCP
notify ExternalIPAddress active

[WANDevice.{i}.WANConnectionDevice.{i}.WANPPPConnection.{i}.Stats.]
live EthernetBytesSent GetWANBytesSent
live EthernetBytesReceived GetWANBytesReceived
live EthernetPacketsSent GetWANPacketsSent
live EthernetPacketsReceived GetWANPacketsReceived
live EthernetErrorsSent GetWANEthernetErrorsSent
live EthernetErrorsReceived GetWANEthernetErrorsReceived
live EthernetUnicastPacketsSent GetWANEthernetUnicastPacketsSent
live EthernetUnicastPacketsReceived GetWANEthernetUnicastPacketsReceived
live EthernetBroadcastPacketsSent GetWANEthernetBroadcastPacketsSent
live EthernetBroadcastPacketsReceived GetWANEthernetBroadcastPacketsReceived
live EthernetMulticastPacketsSent GetWANEthernetMulticastPacketsSent
live EthernetMulticastPacketsReceived GetWANEthernetMulticastPacketsReceived

[WANDevice.1.WANConnectionDevice.1.WANPPPConnection.1.]
set Name PPPoE

# --- Quality of service ------------------------------------------------------

# Four strict-priority queues, voice first; telephone traffic is classified out
# of the box. The facts call the two MAC masks IP addresses.
[QueueManagement.]
tree .
set Enable 1
set MaxQueues 8
set MaxClassificationEntries 32
set MaxAppEntries 8
set MaxFlowEntries 8
set MaxPolicerEntries 8
set MaxQueueEntries 8
set DefaultTrafficClass 0
set DefaultPolicer -1
set DefaultQueue 4
set DefaultDSCPMark -1
set DefaultEthernetPriorityMark -1
type Classification.{i}.SourceMACMask macAddress
type Classification.{i}.DestMACMask macAddress
set Policer.{i}.PossibleMeterTypes SimpleTokenBucket,SingleRateThreeColor,TwoRateThreeColor

instances Classification. 1
set Classification.1.ClassificationEnable 1
set Classification.1.ClassificationStatus Enabled
set Classification.1.ClassInterface LAN
set Classification.1.DSCPCheck 46
set Classification.1.TrafficClass 3
set Classification.1.ClassQueue 1

instances Queue. 1-4
[QueueManagement.Queue.1.]
set QueueEnable 1
set QueueStatus Enabled
set TrafficClasses 3
set QueueInterface WAN
set QueuePrecedence 1
[QueueManagement.Queue.2.]
set QueueEnable 1
set QueueStatus Enabled
set TrafficClasses 2
set QueueInterface WAN
set QueuePrecedence 2
[QueueManagement.Queue.3.]
set QueueEnable 1
set QueueStatus Enabled
set TrafficClasses 1
set QueueInterface WAN
set QueuePrecedence 3
[QueueManagement.Queue.4.]
set QueueEnable 1
set QueueStatus Enabled
set TrafficClasses 0
set QueueInterface WAN
set QueuePrecedence 4

# --- Telephony ---------------------------------------------------------------

[Services.]
object .
object VoiceService.{i}.
instances VoiceService. 1

[Services.VoiceService.{i}.]
object Capabilities.
object Capabilities.SIP.
object Capabilities.Codecs.{i}.
object VoiceProfile.{i}.
object VoiceProfile.{i}.ServiceProviderInfo.
tree VoiceProfile.{i}.SIP.
object VoiceProfile.{i}.RTP.
object VoiceProfile.{i}.RTP.RTCP.
object VoiceProfile.{i}.FaxT38.
object VoiceProfile.{i}.Line.{i}.
tree VoiceProfile.{i}.Line.{i}.SIP.
object VoiceProfile.{i}.Line.{i}.CallingFeatures.
object VoiceProfile.{i}.Line.{i}.VoiceProcessing.
tree VoiceProfile.{i}.Line.{i}.Codec.
object VoiceProfile.{i}.Line.{i}.Session.{i}.
object VoiceProfile.{i}.Line.{i}.Stats.
tree PhyInterface.{i}.
counter PhyInterface.{i}. PhyInterfaceNumberOfEntries

[Services.VoiceService.{i}.Capabilities.]
counter Codecs.{i}. CodecsNumberOfEntries
set MaxProfileCount 1
set MaxLineCount 2
set MaxSessionsPerLine 2
set MaxSessionCount 4
set SignalingProtocols SIP
set RTCP 1
set FaxT38 1
set FaxPassThrough 1
set ModemPassThrough 1
set ToneGeneration 1
set RingGeneration 1
set DigitMap 1
set VoicePortTests 1
set SIP.Role UserAgent
set SIP.Transports UDP,TCP
set SIP.URISchemes sip,tel
set SIP.EventSubscription 1
set Codecs.{i}.PacketizationPeriod 10,20,30

[Services.VoiceService.1.Capabilities.]
instances Codecs. 1-4
set Codecs.1.Codec G.711ALaw
set Codecs.1.BitRate 64000
set Codecs.2.EntryID 2
set Codecs.2.Codec G.711MuLaw
set Codecs.2.BitRate 64000
set Codecs.3.EntryID 3
set Codecs.3.Codec G.729a
set Codecs.3.BitRate 8000
set Codecs.3.SilenceSuppression 1
set Codecs.4.EntryID 4
set Codecs.4.Codec G.722
set Codecs.4.BitRate 64000

# Terminals of the Endpoint profile: one port for each line.
[Services.VoiceService.1.]
instances VoiceProfile. 1
instances VoiceProfile.1.Line. 1-2
instances PhyInterface. 1-2
set PhyInterface.1.PhyPort 1
set PhyInterface.1.Description Phone 1
set PhyInterface.2.PhyPort 2
set PhyInterface.2.InterfaceID 2
set PhyInterface.2.Description Phone 2

[Services.VoiceService.{i}.VoiceProfile.{i}.]
counter Line.{i}. LineNumberOfEntries
set SignalingProtocol SIP
set MaxSessions 4
set DTMFMethod RFC2833
set DigitMap (*xx|#xx|[0-9*#].T)

[Services.VoiceService.1.VoiceProfile.1.]
set Name Default

# Timers are in milliseconds, expiries in seconds.
[Services.VoiceService.{i}.VoiceProfile.{i}.SIP.]
counter EventSubscribe.{i}. EventSubscribeNumberOfEntries
counter ResponseMap.{i}. ResponseMapNumberOfEntries
set UserAgentPort 5060
set RegistrationPeriod 1800
set TimerT1 500
set TimerT2 4000
set TimerT4 5000
set TimerA 500
set TimerB 32000
set TimerC 180000
set TimerD 32000
set TimerE 500
set TimerF 32000
set TimerG 500
set TimerH 32000
set TimerI 5000
set TimerJ 32000
set TimerK 5000
set InviteExpires 180
set ReInviteExpires 1800
set RegisterExpires 3600
set RegistersMinExpires 60
set RegisterRetryInterval 60
set DSCPMark 40
set EventSubscribe.{i}.ExpireTime 3600

[Services.VoiceService.{i}.VoiceProfile.{i}.RTP.]
set LocalPortMin 50000
set LocalPortMax 50199
set DSCPMark 46
set VLANIDMark -1
set EthernetPriorityMark -1
set TelephoneEventPayloadType 101
set RTCP.Enable 1
set RTCP.TxRepeatInterval 5000

[Services.VoiceService.{i}.VoiceProfile.{i}.FaxT38.]
set BitRate 14400
set HighSpeedPacketRate 20
set HighSpeedRedundancy 1
set LowSpeedRedundancy 3

[Services.VoiceService.{i}.VoiceProfile.{i}.Line.{i}.]
counter Session.{i}. SessionNumberOfEntries
counter SIP.EventSubscribe.{i}. EventSubscribeNumberOfEntries
counter Codec.List.{i}. ListNumberOfEntries
live Status GetVoiceLineStatus
live CallState GetVoiceLineCallState
set CallingFeatures.CallerIDEnable 1
set CallingFeatures.CallWaitingEnable 1
set CallingFeatures.MaxSessions 2
set CallingFeatures.CallForwardOnNoAnswerRingCount 5
set CallingFeatures.CallTransferEnable 1
set VoiceProcessing.EchoCancellationEnable 1
set VoiceProcessing.EchoCancellationTail 32
set Codec.TransmitCodec G.711ALaw
set Codec.ReceiveCodec G.711ALaw
set Codec.List.{i}.PacketizationPeriod 20

[Services.VoiceService.1.VoiceProfile.1.Line.1.]
set PhyReferenceList 1
[Services.VoiceService.1.VoiceProfile.1.Line.2.]
set PhyReferenceList 2

[Services.VoiceService.1.VoiceProfile.1.Line.{i}.Codec.]
instances List. 1-4
set List.1.Codec G.711ALaw
set List.1.BitRate 64000
set List.2.EntryID 2
set List.2.Codec G.711MuLaw
set List.2.BitRate 64000
set List.2.Priority 2
set List.3.EntryID 3
set List.3.Codec G.729a
set List.3.BitRate 8000
set List.3.Priority 3
set List.4.EntryID 4
set List.4.Codec G.722
set List.4.BitRate 64000
set List.4.Priority 4

# --- The daemon's own bookkeeping --------------------------------------------

# The daemon notes here which default rows the user deleted. It reads a note
# from the first parameter of its row, so URI stays first; a note holds a whole
# path, so its limit is the longest path.
[]
vendor X_VT_MiscCfg. ro
vendor X_VT_MiscCfg.DeletedDefaultInstances.{i}. ro
counter X_VT_MiscCfg.DeletedDefaultInstances.{i}. DeletedDefaultInstancesNumberOfEntries
param X_VT_MiscCfg.DeletedDefaultInstances.{i}.URI string(32768) ro
