// Statistics of ten points: a first call from C#. It prints the lines of statistics.c.
using System;
using System.Globalization;
using QmxIc;

static unsafe class Program {
    static readonly string[] names = {
        "mean", "variance", "standard deviation", "skewness", "excess kurtosis", "minimum",
        "maximum", "range", "coefficient of variation", "values", "mean, lower limit",
        "mean, upper limit", "variance, lower limit", "variance, upper limit", "unused"};

    static void PrintNumber(string name, double number) {
        Console.WriteLine("{0,-26}{1,14}", name,
                          number.ToString("F4", CultureInfo.InvariantCulture));
    }

    static int Main() {
        Console.WriteLine("records {0} {1} {2} {3} {4} {5} {6} {7}", sizeof(t_icdata),
                          sizeof(t_statsout), sizeof(t_fitout), sizeof(t_gamvset_user),
                          sizeof(t_passbin), sizeof(t_areaflt), sizeof(t_binresult),
                          sizeof(t_event));
        // [first call]
        double[] values = {61.5, 72.0, 70.5, 66.0, 81.0, 75.5, 58.0, 69.5, 77.0, 64.5};
        var points = new t_icdata[10];
        for (int i = 0; i < 10; ++i)
            points[i] = new t_icdata {d_x = 0.3 * i, d_val = values[i], i_passno = 4};

        var statistics = new t_statsout();
        statistics.i_flag_target = Library.Yes;
        statistics.x_target = 70.0F;     // unit of the measure
        statistics.x_target_pct = 60.0F; // share of the points that must reach it
        statistics.x_pctlevel[0] = 10.0F;
        statistics.x_pctlevel[1] = 90.0F;

        var failure = new t_event();
        if (Library.ICdata_stats(Library.No, Library.No, 10, points, ref statistics,
                                 ref failure) != Library.Success) {
            Console.Error.WriteLine(failure.Description);
            return 1;
        }
        PrintNumber("mean", statistics.x_stat[0]);
        // [first call]
        for (int i = 1; i < 15; ++i) PrintNumber(names[i], statistics.x_stat[i]);
        PrintNumber("value at 10 %", statistics.x_pctvalue[0]);
        PrintNumber("value at 90 %", statistics.x_pctvalue[1]);
        PrintNumber("above 70, percent", statistics.x_achieved_pct);
        Console.WriteLine("target " + (statistics.i_target_met == Library.Yes ? "met" : "missed"));

        // Two points are too few: the event says so.
        if (Library.ICdata_stats(Library.No, Library.No, 2, points, ref statistics,
                                 ref failure) != Library.Failure)
            return 1;
        Console.WriteLine("two points: " + failure.Description);
        Console.WriteLine("failed in: " + failure.Path);
        Console.WriteLine("code {0}, class {1}", failure.i_errcode, failure.i_errclass);
        return 0;
    }
}
