// The chain that every request runs through: its rows, in the order in which they take effect.
#pragma once

// HANDLER(name)        a handler of the device class; its command stands under the same name in qx5::commands
// KEYED(name, key)     a handler that is told its key
// SCALAR(record, key, kind)  one key that goes out as the whole payload of one record
//
// The order carries meaning: a handler may write keys into the request for a handler further down, and some rely on
// what ran before them.
#define QX5_REQUEST_CHAIN(HANDLER, KEYED, SCALAR)                                                                      \
    HANDLER(RequestNewProjector)                                                                                       \
    HANDLER(RequestCalibrationControl)                                                                                 \
    HANDLER(RequestDeckMode)                                                                                           \
    SCALAR(Absorption, x5Absorption, PARM_FLOAT)                                                                       \
    SCALAR(SpreadingLoss, x5SpreadingLoss, PARM_FLOAT)                                                                 \
    SCALAR(Range, x5Range, PARM_FLOAT)                                                                                 \
    SCALAR(MaxPingRate, x5MaxPingRate, PARM_FLOAT)                                                                     \
    SCALAR(Power, x5Power, PARM_FLOAT)                                                                                 \
    HANDLER(RequestPulseType)                                                                                          \
    SCALAR(PulseLength, x5PulseLength, PARM_FLOAT)                                                                     \
    SCALAR(Gain, x5Gain, PARM_FLOAT)                                                                                   \
    SCALAR(BeamSteer, x5BeamSteer, PARM_ANGLE_PAIR)                                                                    \
    HANDLER(RequestPingOnOff)                                                                                          \
    KEYED(RequestOnOffDataRecording, x5DataRecording)                                                                  \
    HANDLER(RequestPingOnlyDuringScanning)                                                                             \
    HANDLER(RequestSyncDataRecording)                                                                                  \
    HANDLER(RequestManualSoundVelocity)                                                                                \
    HANDLER(RequestManualTemperature)                                                                                  \
    HANDLER(RequestBeamMode)                                                                                           \
    HANDLER(RequestResetCoverage)                                                                                      \
    HANDLER(RequestCoverageSector)                                                                                     \
    HANDLER(RequestFlexModeParams)                                                                                     \
    HANDLER(RequestAbsoluteGates)                                                                                      \
    HANDLER(RequestAdaptiveGates)                                                                                      \
    HANDLER(RequestBarCheckGates)                                                                                      \
    HANDLER(RequestGateEnableFlags)                                                                                    \
    HANDLER(RequestSystemMode)                                                                                         \
    HANDLER(RequestRDRFiltering)                                                                                       \
    HANDLER(RequestRDRSettings)                                                                                        \
    HANDLER(RequestRDRRecordingDirectory)                                                                              \
    HANDLER(RequestRDRRecordingPreAndPostfix)                                                                          \
    HANDLER(RequestMotionCompensation)                                                                                 \
    HANDLER(RequestMotionSensorConfiguration)                                                                          \
    HANDLER(RequestLoadFactoryParams)                                                                                  \
    HANDLER(RequestDisconnectSlave)                                                                                    \
    HANDLER(RequestConnectSlave)                                                                                       \
    HANDLER(RequestSetSlavedRecords)                                                                                   \
    HANDLER(RequestGainMode)                                                                                           \
    HANDLER(RequestProjectorBeamWidths)                                                                                \
    HANDLER(RequestCenterFrequency)                                                                                    \
    HANDLER(RequestPPSEdge)                                                                                            \
    HANDLER(RequestMultiPing)                                                                                          \
    HANDLER(RequestTriggerOutput)                                                                                      \
    HANDLER(RequestAdvancedTriggerOutput)                                                                              \
    HANDLER(RequestPowerBuiltInPOSMV)                                                                                  \
    HANDLER(RequestTriggerInput)                                                                                       \
    HANDLER(RequestFMSweep)                                                                                            \
    HANDLER(RequestCustomBeams)                                                                                        \
    HANDLER(RequestConstantSpacing)                                                                                    \
    HANDLER(RequestTrackerControl)                                                                                     \
    HANDLER(RequestMultiDetect)                                                                                        \
    HANDLER(RequestSnippetControl)                                                                                     \
    HANDLER(RequestPowerSaveMode)                                                                                      \
    HANDLER(RequestAuvConfig)                                                                                          \
    HANDLER(RequestDutyCycleLimitation)                                                                                \
    HANDLER(Request7042Options)                                                                                        \
    HANDLER(RequestImageDataSetup)                                                                                     \
    HANDLER(RequestSampleRate)                                                                                         \
    HANDLER(RequestVernierParameters)                                                                                  \
    HANDLER(RequestManualAutoConfig)                                                                                   \
    HANDLER(RequestConfigureMultiFrequency)                                                                            \
    HANDLER(RequestAScanBeams)                                                                                         \
    HANDLER(RequestPingSequence)                                                                                       \
    HANDLER(RequestVerticalDetectionMode)                                                                              \
    HANDLER(RequestSourceLevelMode)                                                                                    \
    HANDLER(RequestPulseCharacteristics)                                                                               \
    HANDLER(RequestSearchDepth)                                                                                        \
    HANDLER(RequestSystemDepth)                                                                                        \
    HANDLER(RequestSoundVelocityProbe)                                                                                 \
    HANDLER(RequestASDRecording)                                                                                       \
    HANDLER(RequestStaveRecording)                                                                                     \
    HANDLER(RequestForwardDetect)                                                                                      \
    HANDLER(RequestPortSensorConfiguration)                                                                            \
    HANDLER(RequestQMIOAddresses)                                                                                      \
    HANDLER(RequestCustomPlayback)                                                                                     \
    HANDLER(RequestCustomStorage)                                                                                      \
    HANDLER(RequestSensorsSettings)                                                                                    \
    HANDLER(RequestStacking)                                                                                           \
    HANDLER(RequestSonarMounting)                                                                                      \
    HANDLER(SendLorqGating)                                                                                            \
    HANDLER(SendEchoMarker)                                                                                            \
    HANDLER(UpdateSonarInstallationIdentifiers)                                                                        \
    HANDLER(RequestPlaybackSpeed)                                                                                      \
    HANDLER(RequestPlaybackPosition)                                                                                   \
    HANDLER(RequestPlaybackStepForward)                                                                                \
    HANDLER(RequestPlaybackStepBack)                                                                                   \
    HANDLER(RequestPlaybackLoop)                                                                                       \
    SCALAR(SingleBeamMaxPingRate, x5MaxPingRate, PARM_FLOAT)                                                           \
    HANDLER(RequestSbesChannelSelect)                                                                                  \
    HANDLER(RequestTransducerIndex)                                                                                    \
    HANDLER(RequestSbesTransducerDraft)                                                                                \
    HANDLER(RequestSbesOperationMode)                                                                                  \
    HANDLER(RequestSbesTrackerTweakMode)                                                                               \
    HANDLER(RequestSbesGainTweak)                                                                                      \
    HANDLER(RequestSbesPowerTweak)                                                                                     \
    HANDLER(RequestSbesPulseLengthTweak)                                                                               \
    HANDLER(RequestSbesRangeTweak)                                                                                     \
    HANDLER(RequestSerialPortConfiguration)                                                                            \
    HANDLER(RequestSerialPortStatus)                                                                                   \
    HANDLER(RequestSerialPortConfigRecord)                                                                             \
    HANDLER(RequestSerialPortStatusRecord)                                                                             \
    HANDLER(RequestUdpPortConfiguration)                                                                               \
    HANDLER(RequestUdpPortStatus)                                                                                      \
    HANDLER(RequestUdpPortConfigRecord)                                                                                \
    HANDLER(RequestUdpPortStatusRecord)                                                                                \
    HANDLER(SychronizeTargetManagersHandler)                                                                           \
    HANDLER(SendTargetList)                                                                                            \
    HANDLER(RequestAScanSetupMonitorerStatus)                                                                          \
    HANDLER(RequestRaytracerSetupMode)                                                                                 \
    HANDLER(RequestSetPanTiltRotate)                                                                                   \
    HANDLER(RequestHoistActive)                                                                                        \
    HANDLER(RequestTimeSourceEthernetConfiguration)                                                                    \
    HANDLER(RequestTimeSourceEnabled)                                                                                  \
    HANDLER(RequestShutdown)                                                                                           \
    HANDLER(RequestReboot)                                                                                             \
    HANDLER(RequestSSR7503CMD)                                                                                         \
    HANDLER(SendImageEnhancementMode)                                                                                  \
    HANDLER(SendDetectionSensitivity)                                                                                  \
    HANDLER(SendDetectorAlgorithm)                                                                                     \
    HANDLER(SendCADBeamAndSampleSetting)                                                                               \
    HANDLER(SendUserRole)                                                                                              \
    HANDLER(SendSystemEvent)                                                                                           \
    HANDLER(SendDGNSSGeometry)                                                                                         \
    HANDLER(SendDGNSSConfiguratorXml)                                                                                  \
    HANDLER(SendDGNSSSerialPortConfiguration)                                                                          \
    HANDLER(SendDgnssSerialPortCorrectionsConfig)                                                                      \
    HANDLER(SendDgnssNtripConfig)                                                                                      \
    HANDLER(SendDgnssPpsConfig)                                                                                        \
    HANDLER(SendInsAutoCalibration)                                                                                    \
    HANDLER(SendSbesTransducerUpdateXml)                                                                               \
    HANDLER(RequestSbesSettingsXml)                                                                                    \
    HANDLER(SendSbesSettingsUpdateXml)                                                                                 \
    HANDLER(RequestSbesDefaultSettings)
