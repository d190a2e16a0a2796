Attribute VB_Name = "QmxIc"
' Records and functions of QMX_IC for VBA, 64 and 32 bits. Import this file as a module.
'
' NOT RUN: this module was written from the header and is compared with it field by field and argument
' by argument by a test, but no Office was there to run it. Try the example at the end before use.
'
' QMX_IC.dll has to be where Windows looks for libraries: beside the document's program, on PATH, or
' loaded beforehand by LoadLibrary with its full path. 64-bit Office takes the 64-bit DLL, 32-bit
' Office the 32-bit one, whose functions follow the C convention: Declare cannot call those, so that
' the 32-bit half goes through DispCallFunc of OLE.
'
' Arrays are handed over by their first element, say points(0). Calls must not overlap.
Option Explicit

Public Const QMX_IC_SUCCESS As Long = 1
Public Const QMX_IC_FAILURE As Long = 3
Public Const QMX_IC_YES As Long = 1
Public Const QMX_IC_NO As Long = 2

Public Type t_icdata                        ' 32 bytes
    d_x As Double                           ' offset 0
    d_y As Double                           ' offset 8
    d_val As Double                         ' offset 16
    i_passno As Long                        ' offset 24
    i_reserved As Long                      ' offset 28
End Type

Public Type t_statsout                      ' 2504 bytes
    i_flag_target As Long                   ' offset 0
    i_target_met As Long                    ' offset 4
    i_numdata As Long                       ' offset 8
    x_stat(0 To 14) As Single               ' offset 12
    i_numbins As Long                       ' offset 72
    x_bin(0 To 199) As Single               ' offset 76
    x_freq(0 To 199) As Single              ' offset 876
    x_cumfreq(0 To 199) As Single           ' offset 1676
    x_target As Single                      ' offset 2476
    x_target_pct As Single                  ' offset 2480
    x_achieved_pct As Single                ' offset 2484
    x_pctlevel(0 To 1) As Single            ' offset 2488
    x_pctvalue(0 To 1) As Single            ' offset 2496
End Type

Public Type t_fitout                        ' 48 bytes
    i_degree As Long                        ' offset 0
    x_coef(0 To 9) As Single                ' offset 4
    x_rsq As Single                         ' offset 44
End Type

Public Type t_gamvset_user                  ' 24 bytes
    i_nlag As Long                          ' offset 0
    x_xlag As Single                        ' offset 4
    x_azm As Single                         ' offset 8
    x_atol As Single                        ' offset 12
    x_bandwh As Single                      ' offset 16
    i_standsills As Long                    ' offset 20
End Type

Public Type t_passbin                       ' 8 bytes
    i_pass_lower As Long                    ' offset 0
    i_pass_upper As Long                    ' offset 4
End Type

' t_areaflt has 160008 bytes; a Type of VBA ends at 64 KB. An area is therefore 20001 Doubles: the two
' flags in the first, 10000 eastings from the second, 10000 northings from the 10002nd. ResizeAreas
' makes room, SetArea fills it.
Public Const AREA_DOUBLES As Long = 20001   ' t_areaflt, 160008 bytes

Public Type t_binresult                     ' 12 bytes
    x_coverage As Single                    ' offset 0
    x_compacted_area As Single              ' offset 4
    x_plan_area As Single                   ' offset 8
End Type

Public Type t_event                         ' 520 bytes
    c_description(0 To 255) As Byte         ' offset 0
    c_subfunc(0 To 255) As Byte             ' offset 256
    i_errcode As Long                       ' offset 512
    i_errclass As Long                      ' offset 516
End Type

Private Type two_longs
    first As Long
    second As Long
End Type

Private Type one_double
    value As Double
End Type

#If Win64 Then

Public Declare PtrSafe Function ICdata_stats Lib "QMX_IC.dll" ( _
    ByVal i_flag_pass As Long, ByVal i_flag_below As Long, ByVal i_numdata As Long, _
    ByRef t_data As t_icdata, ByRef t_out As t_statsout, ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function IC_compact_curve_b Lib "QMX_IC.dll" ( _
    ByVal i_maxpassno As Long, ByVal i_mindata As Long, ByVal i_numdata As Long, _
    ByRef t_data As t_icdata, ByRef i_numpasses As Long, ByRef d_passmean As Double, _
    ByRef d_curvex As Double, ByRef d_curvey As Double, ByRef t_fit As t_fitout, _
    ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function call_polycurvefit Lib "QMX_IC.dll" ( _
    ByVal i_npoints As Long, ByVal i_degree As Long, ByRef s_xdata As Single, _
    ByRef s_ydata As Single, ByRef s_xcurve As Single, ByRef s_ycurve As Single) As Long

Public Declare PtrSafe Function IC_semivariogram Lib "QMX_IC.dll" ( _
    ByVal i_ndata As Long, ByRef t_data As t_icdata, ByRef t_gamvset As t_gamvset_user, _
    ByRef x_lagdist As Double, ByRef x_gamma As Double, ByRef x_modelcoef As Double, _
    ByRef x_fitlag As Double, ByRef x_fitgamma As Double, ByRef s_fitsummary As Single, _
    ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function find_points_in_circle Lib "QMX_IC.dll" ( _
    ByVal i_numpoints As Long, ByVal d_radius As Double, ByRef d_center As Double, _
    ByRef d_x As Double, ByRef d_y As Double, ByRef i_found As Long, ByRef i_indices As Long, _
    ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function find_points_in_polygon Lib "QMX_IC.dll" ( _
    ByVal i_numvertices As Long, ByVal i_numpoints As Long, ByRef d_vertexx As Double, _
    ByRef d_vertexy As Double, ByRef d_x As Double, ByRef d_y As Double, ByRef i_found As Long, _
    ByRef i_indices As Long, ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function IC_PointsData_stats Lib "QMX_IC.dll" ( _
    ByVal i_numdata As Long, ByVal i_numtests As Long, ByVal d_radius As Double, _
    ByRef t_data As t_icdata, ByRef t_tests As t_icdata, ByRef t_stats As t_statsout, _
    ByRef x_regress As Single, ByRef i_numvalid As Long, ByRef i_validlist As Long, _
    ByRef d_predict As Double, ByRef t_evt As t_event) As Long

Public Declare PtrSafe Function IC_coverage Lib "QMX_IC.dll" ( _
    ByRef x_meshsize As Single, ByVal i_num_point As Long, ByVal i_num_bins As Long, _
    ByVal i_num_areas As Long, ByRef t_bins As t_passbin, ByRef t_data As t_icdata, _
    ByRef t_areas As Double, ByRef t_results As t_binresult, ByRef t_evt As t_event) As Long

#Else

#If VBA7 Then
Private Declare PtrSafe Function LoadLibraryA Lib "kernel32" (ByVal name As String) As Long
Private Declare PtrSafe Function GetProcAddress Lib "kernel32" ( _
    ByVal library As Long, ByVal name As String) As Long
Private Declare PtrSafe Function DispCallFunc Lib "oleaut32" ( _
    ByVal instance As Long, ByVal address As Long, ByVal convention As Long, _
    ByVal result_type As Integer, ByVal count As Long, ByRef types As Integer, _
    ByRef arguments As Long, ByRef result As Variant) As Long
#Else
Private Declare Function LoadLibraryA Lib "kernel32" (ByVal name As String) As Long
Private Declare Function GetProcAddress Lib "kernel32" ( _
    ByVal library As Long, ByVal name As String) As Long
Private Declare Function DispCallFunc Lib "oleaut32" ( _
    ByVal instance As Long, ByVal address As Long, ByVal convention As Long, _
    ByVal result_type As Integer, ByVal count As Long, ByRef types As Integer, _
    ByRef arguments As Long, ByRef result As Variant) As Long
#End If

' Calls a function by the C convention (1) that returns a 32-bit integer.
Private Function CallC(ByVal name As String, ParamArray arguments() As Variant) As Long
    Dim values() As Variant, types() As Integer, places() As Long
    Dim last As Long, i As Long, address As Long, result As Variant
    last = UBound(arguments)
    ReDim values(0 To last)
    ReDim types(0 To last)
    ReDim places(0 To last)
    For i = 0 To last
        values(i) = arguments(i)
        types(i) = VarType(values(i))
        places(i) = VarPtr(values(i))
    Next i
    address = GetProcAddress(LoadLibraryA("QMX_IC.dll"), name)
    If address = 0 Then Err.Raise 53, , "QMX_IC.dll, or " & name & " in it, was not found"
    i = DispCallFunc(0, address, 1, vbLong, last + 1, types(0), places(0), result)
    If i <> 0 Then Err.Raise i
    CallC = result
End Function

Public Function ICdata_stats( _
    ByVal i_flag_pass As Long, ByVal i_flag_below As Long, ByVal i_numdata As Long, _
    ByRef t_data As t_icdata, ByRef t_out As t_statsout, ByRef t_evt As t_event) As Long
    ICdata_stats = CallC("ICdata_stats", i_flag_pass, i_flag_below, i_numdata, VarPtr(t_data), _
        VarPtr(t_out), VarPtr(t_evt))
End Function

Public Function IC_compact_curve_b( _
    ByVal i_maxpassno As Long, ByVal i_mindata As Long, ByVal i_numdata As Long, _
    ByRef t_data As t_icdata, ByRef i_numpasses As Long, ByRef d_passmean As Double, _
    ByRef d_curvex As Double, ByRef d_curvey As Double, ByRef t_fit As t_fitout, _
    ByRef t_evt As t_event) As Long
    IC_compact_curve_b = CallC("IC_compact_curve_b", i_maxpassno, i_mindata, i_numdata, _
        VarPtr(t_data), VarPtr(i_numpasses), VarPtr(d_passmean), VarPtr(d_curvex), _
        VarPtr(d_curvey), VarPtr(t_fit), VarPtr(t_evt))
End Function

Public Function call_polycurvefit( _
    ByVal i_npoints As Long, ByVal i_degree As Long, ByRef s_xdata As Single, _
    ByRef s_ydata As Single, ByRef s_xcurve As Single, ByRef s_ycurve As Single) As Long
    call_polycurvefit = CallC("call_polycurvefit", i_npoints, i_degree, VarPtr(s_xdata), _
        VarPtr(s_ydata), VarPtr(s_xcurve), VarPtr(s_ycurve))
End Function

Public Function IC_semivariogram( _
    ByVal i_ndata As Long, ByRef t_data As t_icdata, ByRef t_gamvset As t_gamvset_user, _
    ByRef x_lagdist As Double, ByRef x_gamma As Double, ByRef x_modelcoef As Double, _
    ByRef x_fitlag As Double, ByRef x_fitgamma As Double, ByRef s_fitsummary As Single, _
    ByRef t_evt As t_event) As Long
    IC_semivariogram = CallC("IC_semivariogram", i_ndata, VarPtr(t_data), VarPtr(t_gamvset), _
        VarPtr(x_lagdist), VarPtr(x_gamma), VarPtr(x_modelcoef), VarPtr(x_fitlag), _
        VarPtr(x_fitgamma), VarPtr(s_fitsummary), VarPtr(t_evt))
End Function

Public Function find_points_in_circle( _
    ByVal i_numpoints As Long, ByVal d_radius As Double, ByRef d_center As Double, _
    ByRef d_x As Double, ByRef d_y As Double, ByRef i_found As Long, ByRef i_indices As Long, _
    ByRef t_evt As t_event) As Long
    find_points_in_circle = CallC("find_points_in_circle", i_numpoints, d_radius, _
        VarPtr(d_center), VarPtr(d_x), VarPtr(d_y), VarPtr(i_found), VarPtr(i_indices), _
        VarPtr(t_evt))
End Function

Public Function find_points_in_polygon( _
    ByVal i_numvertices As Long, ByVal i_numpoints As Long, ByRef d_vertexx As Double, _
    ByRef d_vertexy As Double, ByRef d_x As Double, ByRef d_y As Double, ByRef i_found As Long, _
    ByRef i_indices As Long, ByRef t_evt As t_event) As Long
    find_points_in_polygon = CallC("find_points_in_polygon", i_numvertices, i_numpoints, _
        VarPtr(d_vertexx), VarPtr(d_vertexy), VarPtr(d_x), VarPtr(d_y), VarPtr(i_found), _
        VarPtr(i_indices), VarPtr(t_evt))
End Function

Public Function IC_PointsData_stats( _
    ByVal i_numdata As Long, ByVal i_numtests As Long, ByVal d_radius As Double, _
    ByRef t_data As t_icdata, ByRef t_tests As t_icdata, ByRef t_stats As t_statsout, _
    ByRef x_regress As Single, ByRef i_numvalid As Long, ByRef i_validlist As Long, _
    ByRef d_predict As Double, ByRef t_evt As t_event) As Long
    IC_PointsData_stats = CallC("IC_PointsData_stats", i_numdata, i_numtests, d_radius, _
        VarPtr(t_data), VarPtr(t_tests), VarPtr(t_stats), VarPtr(x_regress), VarPtr(i_numvalid), _
        VarPtr(i_validlist), VarPtr(d_predict), VarPtr(t_evt))
End Function

Public Function IC_coverage( _
    ByRef x_meshsize As Single, ByVal i_num_point As Long, ByVal i_num_bins As Long, _
    ByVal i_num_areas As Long, ByRef t_bins As t_passbin, ByRef t_data As t_icdata, _
    ByRef t_areas As Double, ByRef t_results As t_binresult, ByRef t_evt As t_event) As Long
    IC_coverage = CallC("IC_coverage", VarPtr(x_meshsize), i_num_point, i_num_bins, i_num_areas, _
        VarPtr(t_bins), VarPtr(t_data), VarPtr(t_areas), VarPtr(t_results), VarPtr(t_evt))
End Function

#End If

' Room for areas 0 to count - 1 of IC_coverage.
Public Sub ResizeAreas(areas() As Double, ByVal count As Long)
    ReDim areas(0 To count * AREA_DOUBLES - 1)
End Sub

' Fills area number index: 1 excluded, 2 included; easting and northing of each vertex.
Public Sub SetArea(areas() As Double, ByVal index As Long, ByVal exclusion As Long, _
                   x() As Double, y() As Double)
    Dim flags As two_longs, packed As one_double, i As Long, start As Long
    flags.first = exclusion
    flags.second = UBound(x) - LBound(x) + 1
    LSet packed = flags
    start = index * AREA_DOUBLES
    areas(start) = packed.value
    For i = 0 To flags.second - 1
        areas(start + 1 + i) = x(LBound(x) + i)
        areas(start + 10001 + i) = y(LBound(y) + i)
    Next i
End Sub

' The text of an event's field, without the blanks behind it.
Public Function EventText(field() As Byte) As String
    EventText = RTrim$(StrConv(field, vbUnicode))
End Function

' The sizes that the library expects; raises an error where a Type has another.
Public Sub CheckRecords()
    Dim p As t_icdata, s As t_statsout, f As t_fitout, g As t_gamvset_user, b As t_passbin
    Dim r As t_binresult, e As t_event
    If LenB(p) <> 32 Or LenB(s) <> 2504 Or LenB(f) <> 48 Or LenB(g) <> 24 Or LenB(b) <> 8 _
        Or LenB(r) <> 12 Or LenB(e) <> 520 Then Err.Raise 5, , "QmxIc: a record has another size"
End Sub

' [first call]
Public Sub StatisticsOfTenPoints()
    Dim points(0 To 9) As t_icdata, statistics As t_statsout, failure As t_event
    Dim values As Variant, i As Long
    CheckRecords
    values = Array(61.5, 72#, 70.5, 66#, 81#, 75.5, 58#, 69.5, 77#, 64.5)
    For i = 0 To 9
        points(i).d_x = 0.3 * i
        points(i).d_val = values(i)
        points(i).i_passno = 4
    Next i
    statistics.i_flag_target = QMX_IC_YES
    statistics.x_target = 70     ' unit of the measure
    statistics.x_target_pct = 60 ' share of the points that must reach it
    If ICdata_stats(QMX_IC_NO, QMX_IC_NO, 10, points(0), statistics, failure) = QMX_IC_SUCCESS Then
        Debug.Print "mean", Format$(statistics.x_stat(0), "0.0000") ' 69.5500
    Else
        Debug.Print EventText(failure.c_description)
    End If
End Sub
' [first call]
