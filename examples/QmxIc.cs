// Records and functions of QMX_IC for C#. Copy this file; compile with -unsafe (AllowUnsafeBlocks).
//
// The records are blittable: arrays of them are handed over in place, nothing is copied. The native
// library is QMX_IC.dll on Windows and libQMX_IC.so on Linux, found as the run-time finds others.
// Calls must not overlap: take a lock where several threads call.
using System;
using System.Runtime.InteropServices;
using System.Text;

namespace QmxIc {

[StructLayout(LayoutKind.Sequential)]
public struct t_icdata {
    public double d_x;         // easting, in the caller's planar unit of length
    public double d_y;         // northing, same unit
    public double d_val;       // the measured value, or a pass count
    public int i_passno;       // counted from 1
    public int i_reserved;     // never read
}

[StructLayout(LayoutKind.Sequential)]
public unsafe struct t_statsout {
    public int i_flag_target;  // in
    public int i_target_met;   // out: 1 yes, 2 no
    public int i_numdata;      // out
    public fixed float x_stat[15];
    public int i_numbins;      // out
    public fixed float x_bin[200];
    public fixed float x_freq[200];
    public fixed float x_cumfreq[200];
    public float x_target;     // in
    public float x_target_pct; // in
    public float x_achieved_pct;
    public fixed float x_pctlevel[2]; // in
    public fixed float x_pctvalue[2]; // out
}

[StructLayout(LayoutKind.Sequential)]
public unsafe struct t_fitout {
    public int i_degree;
    public fixed float x_coef[10];
    public float x_rsq;
}

[StructLayout(LayoutKind.Sequential)]
public struct t_gamvset_user {
    public int i_nlag;
    public float x_xlag;
    public float x_azm;
    public float x_atol;
    public float x_bandwh;
    public int i_standsills;   // 1 yes, 2 no
}

[StructLayout(LayoutKind.Sequential)]
public struct t_passbin {
    public int i_pass_lower;
    public int i_pass_upper;   // -1: no upper end
}

[StructLayout(LayoutKind.Sequential)]
public unsafe struct t_areaflt {
    public int i_flag_exclusion; // 1 excluded, 2 included
    public int i_numvertices;
    public fixed double d_vert_x[10000];
    public fixed double d_vert_y[10000];

    public void Set(int exclusion, double[] x, double[] y) {
        if (x.Length != y.Length || x.Length > 10000) throw new ArgumentException("vertices");
        i_flag_exclusion = exclusion;
        i_numvertices = x.Length;
        fixed (double* eastings = d_vert_x, northings = d_vert_y) {
            Marshal.Copy(x, 0, (IntPtr)eastings, x.Length);
            Marshal.Copy(y, 0, (IntPtr)northings, y.Length);
        }
    }
}

[StructLayout(LayoutKind.Sequential)]
public struct t_binresult {
    public float x_coverage;   // -99: not computed
    public float x_compacted_area;
    public float x_plan_area;
}

[StructLayout(LayoutKind.Sequential)]
public unsafe struct t_event {
    fixed byte c_description[256]; // padded with blanks, no terminator
    fixed byte c_subfunc[256];
    public int i_errcode;
    public int i_errclass;

    public string Description { get { fixed (byte* text = c_description) return Text(text); } }
    public string Path { get { fixed (byte* text = c_subfunc) return Text(text); } }

    static string Text(byte* padded) {
        var bytes = new byte[256];
        Marshal.Copy((IntPtr)padded, bytes, 0, 256);
        return Encoding.ASCII.GetString(bytes).TrimEnd(' ', '\0');
    }
}

public static unsafe class Library {
    public const int Yes = 1, No = 2, Success = 1, Failure = 3;
    const string Name = "QMX_IC";
    const CallingConvention C = CallingConvention.Cdecl;

    static void Check(string record, int size, int expected) {
        if (size != expected) throw new TypeLoadException(record + " has " + size + " bytes");
    }

    // The first use of this class ends with an exception where a record is not laid out as agreed.
    static Library() {
        Check("t_icdata", sizeof(t_icdata), 32);
        Check("t_statsout", sizeof(t_statsout), 2504);
        Check("t_fitout", sizeof(t_fitout), 48);
        Check("t_gamvset_user", sizeof(t_gamvset_user), 24);
        Check("t_passbin", sizeof(t_passbin), 8);
        Check("t_areaflt", sizeof(t_areaflt), 160008);
        Check("t_binresult", sizeof(t_binresult), 12);
        Check("t_event", sizeof(t_event), 520);
    }

    [DllImport(Name, CallingConvention = C)]
    public static extern int ICdata_stats(int i_flag_pass, int i_flag_below, int i_numdata,
        [In] t_icdata[] t_data, ref t_statsout t_out, ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int IC_compact_curve_b(int i_maxpassno, int i_mindata, int i_numdata,
        [In] t_icdata[] t_data, ref int i_numpasses, [In, Out] double[] d_passmean,
        [In, Out] double[] d_curvex, [In, Out] double[] d_curvey, ref t_fitout t_fit,
        ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int call_polycurvefit(int i_npoints, int i_degree, [In] float[] s_xdata,
        [In] float[] s_ydata, [In, Out] float[] s_xcurve, [In, Out] float[] s_ycurve);

    [DllImport(Name, CallingConvention = C)]
    public static extern int IC_semivariogram(int i_ndata, [In] t_icdata[] t_data,
        [In] ref t_gamvset_user t_gamvset, [In, Out] double[] x_lagdist, [In, Out] double[] x_gamma,
        [In, Out] double[] x_modelcoef, [In, Out] double[] x_fitlag, [In, Out] double[] x_fitgamma,
        [In, Out] float[] s_fitsummary, ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int find_points_in_circle(int i_numpoints, double d_radius,
        [In] double[] d_center, [In] double[] d_x, [In] double[] d_y, out int i_found,
        [In, Out] int[] i_indices, ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int find_points_in_polygon(int i_numvertices, int i_numpoints,
        [In] double[] d_vertexx, [In] double[] d_vertexy, [In] double[] d_x, [In] double[] d_y,
        out int i_found, [In, Out] int[] i_indices, ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int IC_PointsData_stats(int i_numdata, int i_numtests, double d_radius,
        [In] t_icdata[] t_data, [In] t_icdata[] t_tests, [In, Out] t_statsout[] t_stats,
        [In, Out] float[] x_regress, out int i_numvalid, [In, Out] int[] i_validlist,
        [In, Out] double[] d_predict, ref t_event t_evt);

    [DllImport(Name, CallingConvention = C)]
    public static extern int IC_coverage([In] float[] x_meshsize, int i_num_point, int i_num_bins,
        int i_num_areas, [In] t_passbin[] t_bins, [In] t_icdata[] t_data, [In] t_areaflt[] t_areas,
        [In, Out] t_binresult[] t_results, ref t_event t_evt);
}

} // namespace QmxIc
