// The chain that every request runs through: its rows, in the order in which they take effect.
#pragma once

// TABLE(name)                a handler that does what the command of that name in qx5::commands tells, and nothing else
// HANDLER(name)              a handler written by hand; its command stands under the same name in qx5::commands
// KEYED(name, key)           such a handler that is told its key
// SCALAR(record, key, kind)  one key that goes out as the whole payload of one record
//
// A row declares its handler in the device class; that of TABLE also defines it.
//
// The order carries meaning: a handler may write keys into the request for a handler further down, and some rely on
// what ran before them.
#define QX5_REQUEST_CHAIN(TABLE, HANDLER, KEYED, SCALAR)                                                               \
    TABLE(RequestNewProjector)                                                                                         \
    TABLE(RequestCalibrationControl)                                                                                   \
    TABLE(RequestDeckMode)                                                                                             \
    SCALAR(Absorption, x5Absorption, PARM_FLOAT)                                                                       \
    SCALAR(SpreadingLoss, x5SpreadingLoss, PARM_FLOAT)                                                                 \
    SCALAR(Range, x5Range, PARM_FLOAT)                                                                                 \
    SCALAR(MaxPingRate, x5MaxPingRate, PARM_FLOAT)                                                                     \
    SCALAR(Power, x5Power, PARM_FLOAT)                                                                                 \
    HANDLER(RequestPulseType)                                                                                          \
    SCALAR(PulseLength, x5PulseLength, PARM_FLOAT)                                                                     \
    SCALAR(Gain, x5Gain, PARM_FLOAT)                                                                                   \
    SCALAR(BeamSteer, x5BeamSteer, PARM_ANGLE_PAIR)                                                                    \
    TABLE(RequestPingOnOff)                                                                                            \
    KEYED(RequestOnOffDataRecording, x5DataRecording)                                                                  \
    HANDLER(RequestPingOnlyDuringScanning)                                                                             \
    HANDLER(RequestSyncDataRecording)                                                                                  \
    HANDLER(RequestManualSoundVelocity)                                                                                \
    HANDLER(RequestManualTemperature)                                                                                  \
    HANDLER(RequestBeamMode)                                                                                           \
    HANDLER(RequestResetCoverage)                                                                                      \
    TABLE(RequestCoverageSector)                                                                                       \
    TABLE(RequestFlexModeParams)                                                                                       \
    TABLE(RequestAbsoluteGates)                                                                                        \
    TABLE(RequestAdaptiveGates)                                                                                        \
    TABLE(RequestBarCheckGates)                                                                                        \
    TABLE(RequestGateEnableFlags)                                                                                      \
    TABLE(RequestSystemMode)                                                                                           \
    HANDLER(RequestRDRFiltering)                                                                                       \
    TABLE(RequestRDRSettings)                                                                                          \
    TABLE(RequestRDRRecordingDirectory)                                                                                \
    TABLE(RequestRDRRecordingPreAndPostfix)                                                                            \
    TABLE(RequestMotionCompensation)                                                                                   \
    TABLE(RequestMotionSensorConfiguration)                                                                            \
    HANDLER(RequestLoadFactoryParams)                                                                                  \
    HANDLER(RequestDisconnectSlave)                                                                                    \
    HANDLER(RequestConnectSlave)                                                                                       \
    HANDLER(RequestSetSlavedRecords)                                                                                   \
    HANDLER(RequestGainMode)                                                                                           \
    TABLE(RequestProjectorBeamWidths)                                                                                  \
    TABLE(RequestCenterFrequency)                                                                                      \
    TABLE(RequestPPSEdge)                                                                                              \
    TABLE(RequestMultiPing)                                                                                            \
    TABLE(RequestTriggerOutput)                                                                                        \
    TABLE(RequestAdvancedTriggerOutput)                                                                                \
    TABLE(RequestPowerBuiltInPOSMV)                                                                                    \
    TABLE(RequestTriggerInput)                                                                                         \
    HANDLER(RequestFMSweep)                                                                                            \
    HANDLER(RequestCustomBeams)                                                                                        \
    HANDLER(RequestConstantSpacing)                                                                                    \
    TABLE(RequestTrackerControl)                                                                                       \
    TABLE(RequestMultiDetect)                                                                                          \
    TABLE(RequestSnippetControl)                                                                                       \
    TABLE(RequestPowerSaveMode)                                                                                        \
    TABLE(RequestAuvConfig)                                                                                            \
    TABLE(RequestDutyCycleLimitation)                                                                                  \
    HANDLER(Request7042Options)                                                                                        \
    HANDLER(RequestImageDataSetup)                                                                                     \
    HANDLER(RequestSampleRate)                                                                                         \
    TABLE(RequestVernierParameters)                                                                                    \
    TABLE(RequestManualAutoConfig)                                                                                     \
    TABLE(RequestConfigureMultiFrequency)                                                                              \
    TABLE(RequestAScanBeams)                                                                                           \
    TABLE(RequestPingSequence)                                                                                         \
    TABLE(RequestVerticalDetectionMode)                                                                                \
    TABLE(RequestSourceLevelMode)                                                                                      \
    TABLE(RequestPulseCharacteristics)                                                                                 \
    TABLE(RequestSearchDepth)                                                                                          \
    TABLE(RequestSystemDepth)                                                                                          \
    TABLE(RequestSoundVelocityProbe)                                                                                   \
    TABLE(RequestASDRecording)                                                                                         \
    TABLE(RequestStaveRecording)                                                                                       \
    TABLE(RequestForwardDetect)                                                                                        \
    TABLE(RequestPortSensorConfiguration)                                                                              \
    TABLE(RequestQMIOAddresses)                                                                                        \
    TABLE(RequestCustomPlayback)                                                                                       \
    TABLE(RequestCustomStorage)                                                                                        \
    TABLE(RequestSensorsSettings)                                                                                      \
    TABLE(RequestStacking)                                                                                             \
    TABLE(RequestSonarMounting)                                                                                        \
    HANDLER(SendLorqGating)                                                                                            \
    HANDLER(SendEchoMarker)                                                                                            \
    HANDLER(UpdateSonarInstallationIdentifiers)                                                                        \
    HANDLER(RequestPlaybackSpeed)                                                                                      \
    HANDLER(RequestPlaybackPosition)                                                                                   \
    HANDLER(RequestPlaybackStepForward)                                                                                \
    HANDLER(RequestPlaybackStepBack)                                                                                   \
    HANDLER(RequestPlaybackLoop)                                                                                       \
    SCALAR(SingleBeamMaxPingRate, x5MaxPingRate, PARM_FLOAT)                                                           \
    TABLE(RequestSbesChannelSelect)                                                                                    \
    HANDLER(RequestTransducerIndex)                                                                                    \
    TABLE(RequestSbesTransducerDraft)                                                                                  \
    TABLE(RequestSbesOperationMode)                                                                                    \
    HANDLER(RequestSbesTrackerTweakMode)                                                                               \
    TABLE(RequestSbesGainTweak)                                                                                        \
    TABLE(RequestSbesPowerTweak)                                                                                       \
    TABLE(RequestSbesPulseLengthTweak)                                                                                 \
    TABLE(RequestSbesRangeTweak)                                                                                       \
    TABLE(RequestSerialPortConfiguration)                                                                              \
    TABLE(RequestSerialPortStatus)                                                                                     \
    TABLE(RequestSerialPortConfigRecord)                                                                               \
    TABLE(RequestSerialPortStatusRecord)                                                                               \
    HANDLER(RequestUdpPortConfiguration)                                                                               \
    TABLE(RequestUdpPortStatus)                                                                                        \
    TABLE(RequestUdpPortConfigRecord)                                                                                  \
    TABLE(RequestUdpPortStatusRecord)                                                                                  \
    HANDLER(SychronizeTargetManagersHandler)                                                                           \
    HANDLER(SendTargetList)                                                                                            \
    HANDLER(RequestAScanSetupMonitorerStatus)                                                                          \
    HANDLER(RequestRaytracerSetupMode)                                                                                 \
    TABLE(RequestSetPanTiltRotate)                                                                                     \
    TABLE(RequestHoistActive)                                                                                          \
    HANDLER(RequestTimeSourceEthernetConfiguration)                                                                    \
    TABLE(RequestTimeSourceEnabled)                                                                                    \
    TABLE(RequestShutdown)                                                                                             \
    TABLE(RequestReboot)                                                                                               \
    TABLE(RequestSSR7503CMD)                                                                                           \
    TABLE(SendImageEnhancementMode)                                                                                    \
    TABLE(SendDetectionSensitivity)                                                                                    \
    TABLE(SendDetectorAlgorithm)                                                                                       \
    TABLE(SendCADBeamAndSampleSetting)                                                                                 \
    TABLE(SendUserRole)                                                                                                \
    HANDLER(SendSystemEvent)                                                                                           \
    HANDLER(SendDGNSSGeometry)                                                                                         \
    HANDLER(SendDGNSSConfiguratorXml)                                                                                  \
    HANDLER(SendDGNSSSerialPortConfiguration)                                                                          \
    TABLE(SendDgnssSerialPortCorrectionsConfig)                                                                        \
    HANDLER(SendDgnssNtripConfig)                                                                                      \
    HANDLER(SendDgnssPpsConfig)                                                                                        \
    TABLE(SendInsAutoCalibration)                                                                                      \
    HANDLER(SendSbesTransducerUpdateXml)                                                                               \
    TABLE(RequestSbesSettingsXml)                                                                                      \
    HANDLER(SendSbesSettingsUpdateXml)                                                                                 \
    TABLE(RequestSbesDefaultSettings)
