// One call of each function on a small lot, from C#. It prints the lines of eight_calls.c.
using System;
using System.Globalization;
using QmxIc;

static unsafe class Program {
    const int Cells = 120, Passes = 4, Records = Cells * Passes;

    static t_event failure = new t_event();

    static void Check(int outcome) {
        if (outcome != Library.Success) throw new Exception(failure.Description);
    }

    static void PrintNumber(string name, double number) {
        Console.WriteLine("{0,-26}{1,14}", name,
                          number.ToString("F4", CultureInfo.InvariantCulture));
    }

    static void Main() {
        var lot = new t_icdata[Records];
        var last = new t_icdata[Cells];
        var x = new double[Cells];
        var y = new double[Cells];
        for (int k = 1; k <= Passes; ++k)
            for (int i = 0; i < Cells; ++i) {
                x[i] = 0.5 * (i % 20);
                y[i] = 0.5 * (i / 20);
                lot[(k - 1) * Cells + i] = new t_icdata {
                    d_x = x[i], d_y = y[i], d_val = 25 + 10 * k - k * k + 7 * i % 11, i_passno = k};
            }
        Array.Copy(lot, Records - Cells, last, 0, Cells);

        Statistics(last);
        Curves(lot);
        Semivariogram(last);
        Selections(x, y);
        SpotTests(lot);
        Coverage(last);
    }

    static void Statistics(t_icdata[] last) {
        var statistics = new t_statsout {
            i_flag_target = Library.Yes, x_target = 49.0F, x_target_pct = 90.0F};
        Check(Library.ICdata_stats(Library.No, Library.No, Cells, last, ref statistics,
                                   ref failure));
        PrintNumber("mean", statistics.x_stat[0]);
        PrintNumber("above the target", statistics.x_achieved_pct);
    }

    static void Curves(t_icdata[] lot) {
        int used = 0;
        var means = new double[Passes];
        var curveX = new double[100];
        var curveY = new double[100];
        var fit = new t_fitout();
        Check(Library.IC_compact_curve_b(Passes, 1, Records, lot, ref used, means, curveX, curveY,
                                         ref fit, ref failure));
        PrintNumber("passes", used);
        PrintNumber("mean of pass 1", means[0]);
        PrintNumber("mean of the last pass", means[used - 1]);
        PrintNumber("quadratic term", fit.x_coef[2]);
        PrintNumber("end of the curve", curveY[99]);

        var abscissas = new float[10];
        var ordinates = new float[10];
        for (int k = 0; k < 10; ++k) {
            abscissas[k] = k;
            ordinates[k] = 5 + k * k + k % 2;
        }
        var polynomialX = new float[100];
        var polynomialY = new float[100];
        if (Library.call_polycurvefit(10, 2, abscissas, ordinates, polynomialX, polynomialY) !=
            Library.Success)
            throw new Exception("failed");
        PrintNumber("start of the polynomial", polynomialY[0]);
        PrintNumber("end of the polynomial", polynomialY[99]);
    }

    static void Semivariogram(t_icdata[] last) {
        var settings = new t_gamvset_user {
            i_nlag = 6, x_xlag = 0.5F, x_atol = 90.0F, x_bandwh = 10.0F, i_standsills = Library.No};
        var distances = new double[8];
        var semivariances = new double[8];
        var model = new double[2];
        var summary = new float[4];
        Check(Library.IC_semivariogram(Cells, last, ref settings, distances, semivariances, model,
                                       new double[100], new double[100], summary, ref failure));
        PrintNumber("distance of class 3", distances[3]);
        PrintNumber("semivariance of class 3", semivariances[3]);
        PrintNumber("range of the model", model[0]);
        PrintNumber("sill of the model", model[1]);
        PrintNumber("range read off", summary[0]);
    }

    static void Selections(double[] x, double[] y) {
        int found;
        var indices = new int[Cells];
        Check(Library.find_points_in_circle(Cells, 1.0, new[] {2.0, 1.0}, x, y, out found, indices,
                                            ref failure));
        PrintNumber("in the circle", found);
        PrintNumber("first, from 0", indices[0]);
        PrintNumber("last", indices[found - 1]);

        Check(Library.find_points_in_polygon(4, Cells, new[] {1.1, 4.1, 4.1, 1.1},
                                             new[] {0.6, 0.6, 2.1, 2.1}, x, y, out found, indices,
                                             ref failure));
        PrintNumber("in the polygon", found);
        PrintNumber("first, from 0", indices[0]);
        PrintNumber("last", indices[found - 1]);
    }

    static void SpotTests(t_icdata[] lot) {
        var tests = new[] {
            new t_icdata {d_x = 1, d_y = 1, d_val = 10, i_passno = 4},
            new t_icdata {d_x = 4, d_y = 1, d_val = 12, i_passno = 4},
            new t_icdata {d_x = 7, d_y = 1, d_val = 15, i_passno = 4},
            new t_icdata {d_x = 4, d_y = 2, d_val = 11, i_passno = 4}};
        var stats = new t_statsout[4];
        var line = new float[3];
        int valid;
        var list = new int[4];
        var predicted = new double[4];
        Check(Library.IC_PointsData_stats(Records, 4, 1.0, lot, tests, stats, line, out valid, list,
                                          predicted, ref failure));
        PrintNumber("spot tests with data", valid);
        PrintNumber("records round the first", stats[0].i_numdata);
        PrintNumber("intercept", line[0]);
        PrintNumber("slope", line[1]);
        PrintNumber("R-squared, percent", line[2]);
        PrintNumber("predicted", predicted[list[0] - 1]);
    }

    static void Coverage(t_icdata[] last) {
        var bins = new[] {
            new t_passbin {i_pass_lower = 1, i_pass_upper = 2},
            new t_passbin {i_pass_lower = 3, i_pass_upper = -1}};
        var areas = new t_areaflt[2];
        areas[0].Set(2, new double[] {0, 10, 10, 0}, new double[] {0, 0, 3, 3});
        areas[1].Set(1, new double[] {1, 2, 2, 1}, new double[] {1, 1, 2, 2});
        var counts = (t_icdata[])last.Clone();
        for (int i = 0; i < Cells; ++i) counts[i].d_val = 1 + i % 4;
        var results = new t_binresult[2];
        Check(Library.IC_coverage(new[] {0.5F, 0.5F}, Cells, 2, 2, bins, counts, areas, results,
                                  ref failure));
        PrintNumber("1 or 2 passes, percent", results[0].x_coverage);
        PrintNumber("3 and more, area", results[1].x_compacted_area);
        PrintNumber("area of the plan", results[0].x_plan_area);
    }
}
